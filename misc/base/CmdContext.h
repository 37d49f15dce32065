#pragma once

#include <cstdint>

// What a command function is told of its call: a value of three words. It holds nothing alive.
namespace Cmd
{

enum eEventKind : std::int32_t
{
    eFired = 0, // whoever calls tells no press from a release
    eKeyPressed = 1,
    eKeyReleased = 2
};

struct Context
{
    eEventKind eventKind_ = eFired;
    void* callerContext_ = nullptr; // the caller's own; null for a call that has none
    void* userData_ = nullptr;      // set by the command's record on each call
};

using Function = void (*)(Context const&);

} // namespace Cmd
