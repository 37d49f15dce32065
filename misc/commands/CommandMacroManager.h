#pragma once

#include "OS/Export.h"

// The place where macros would be kept. There are none: commands are all that keys run. Any thread.
class MISC_API CommandMacroManager
{
public:
    static CommandMacroManager& instance();

    CommandMacroManager(const CommandMacroManager&) = delete;
    CommandMacroManager& operator=(const CommandMacroManager&) = delete;

private:
    CommandMacroManager() = default;
};
