// A std::map from key codes to names and one from names to functions.

#include "bench/harness/Keep.h"
#include "bench/harness/Registry.h"
#include "bench/keys_commands.h"

#include <map>

namespace
{

using namespace bench::keys;

struct Target
{
    void (*function)(void*) = nullptr;
    void* userData = nullptr;
};

void doNothing(void*) {}

struct Maps
{
    std::map<int, std::string> names;
    std::map<std::string, Target> targets;

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

void addPress(bench::Registry& registry, const char* caseName, const char* name)
{
    registry.peer(caseName, name,
                  [presses = Presses(boundKeys())]() mutable
                  {
                      static const Maps maps;
                      bench::keepNumber(maps.tryKey(presses.next()));
                  });
}

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        addPress(registry, boundCase, "std::map twice");
        addPress(registry, freeCase, "std::map twice, bound");
    });

} // namespace
