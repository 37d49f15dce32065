#pragma once

#include "misc/threads/Decoupler.h"

#include <functional>
#include <utility>

namespace test
{

// Commands that call a function.
template <class Safety, class Ctx>
class Calls : public MwDC::Receiver<MwDC::SmplCmd<Ctx, MwDC::NoTag, Safety>>
{
public:
    using Cmd = MwDC::SmplCmd<Ctx, MwDC::NoTag, Safety>;

    explicit Calls(std::function<bool(Cmd&, Ctx&)> function) : function_(std::move(function)) {}
    Cmd cmd() { return Cmd(*this); }
    bool execute(Cmd& cmd, Ctx& ctx) override { return function_(cmd, ctx); }

private:
    std::function<bool(Cmd&, Ctx&)> function_;
};

} // namespace test
