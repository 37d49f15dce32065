#include "misc/commands/CommandRegistrar.h"

CommandRegistrar::CommandRegistrar(char const* name, void (*fn)(), UIString const& displayName,
                                   UIString const& description, eCmdScope scope, MapItem const& defaultKey)
{
    CommandMap::instance()->registerCommand(name, fn, displayName, description, scope, defaultKey);
}

CommandRegistrar::CommandRegistrar(char const* name, Cmd::Function fn, UIString const& displayName,
                                   UIString const& description, unsigned attribs, MapItem const& defaultKey)
{
    CommandMap::instance()->registerCommand(name, fn, nullptr, attribs, displayName, description, defaultKey);
}
