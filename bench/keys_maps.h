#pragma once

// What the peers made of two maps share: a key press finds a name, and the name a function.

#include "bench/keys_commands.h"

#include <string>

namespace bench::keys
{

struct Target
{
    void (*function)(void*) = nullptr;
    void* userData = nullptr;
};

inline void doNothing(void*) {}

// From key codes to names and from names to functions, as a user of such maps would have them.
template <template <class...> class Map>
struct Maps
{
    Map<int, std::string> names;
    Map<std::string, Target> targets;

    Maps()
    {
        for (const Command& command : commands())
        {
            names[command.key] = command.name;
            targets[command.name] = {doNothing, nullptr};
        }
    }

    bool tryKey(int code) const
    {
        const auto name = names.find(code);
        if (name == names.end())
            return false;
        const auto target = targets.find(name->second);
        if (target == targets.end())
            return false;
        target->second.function(target->second.userData);
        return true;
    }
};

} // namespace bench::keys
