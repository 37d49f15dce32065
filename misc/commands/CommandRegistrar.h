#pragma once

#include "misc/commands/CommandMap.h"

// Registers a command when it is constructed, as a static object before `main`. It keeps no state: its end changes
// nothing.
class MISC_API CommandRegistrar
{
public:
    CommandRegistrar(char const* name, void (*fn)(), UIString const& displayName, UIString const& description,
                     eCmdScope scope, MapItem const& defaultKey);
    CommandRegistrar(char const* name, Cmd::Function fn, UIString const& displayName, UIString const& description,
                     unsigned attribs, MapItem const& defaultKey);
};
