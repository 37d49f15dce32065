// Area keys, the rows that run commands: what a key press costs, and the start of a program with all its keys.
//
// Workload: bench/keys_commands.h. Commands do nothing. The start registers the commands in an empty table and builds
// their key maps, to which the user's 500 differences are applied: 400 keys that were added, 100 that were taken
// away. Both sides read differences that their store has in memory from the run before; QSettings keeps a file that
// it has read as well.

#include "bench/keys_commands.h"

#include "OS/Desktop.h"
#include "OS/OS.h"
#include "OS/testing/ForwardingDesktop.h"
#include "bench/harness/Keep.h"
#include "bench/harness/Registry.h"
#include "bench/settings.h"
#include "misc/commands/CommandMap.h"
#include "misc/commands/CommandMapMMC.h"
#include "misc/commands/KeyCode.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <random>

namespace bench::keys
{

namespace
{

constexpr std::size_t commandCount = 2000;
constexpr std::size_t addedCount = 400;
constexpr std::size_t takenCount = 100;

// Printable characters and scan codes with each set of modifiers, beginning with those of few.
std::vector<int> allKeys()
{
    std::vector<int> keys;
    for (const int modifiers : {0, 2, 1, 4, 3, 6, 5, 7, 8, 10, 9, 12, 11, 14, 13, 15})
    {
        const int flags = (modifiers & 7) << 24 | ((modifiers & 8) != 0 ? KeyCode::fourthModifier : 0);
        for (int c = '!'; c <= '~'; ++c)
            keys.push_back(flags | c);
        for (int c = 0x3B; c <= 0x67; ++c)
            keys.push_back(flags | KeyCode::scanCode | c);
    }
    return keys;
}

std::vector<Command> makeCommands()
{
    static const char* const modules[] = {"Timeline", "Viewer", "capture", "Audio mixer", "titles"};
    const std::vector<int> keys = allKeys();
    std::vector<Command> made;
    for (std::size_t i = 0; i < commandCount; ++i)
        made.push_back({modules[i % 5] + std::string(" command ") + std::to_string(i), keys[i]});
    std::shuffle(made.begin(), made.end(), std::mt19937(1));
    return made;
}

std::string differenceName(const std::string& command, int key)
{
    char code[16];
    std::snprintf(code, sizeof code, "0x%04X", static_cast<unsigned>(key));
    return "GlobalCommands:\"" + command + "\":" + code + "::::";
}

} // namespace

const std::vector<Command>& commands()
{
    static const std::vector<Command> made = makeCommands();
    return made;
}

const std::vector<int>& boundKeys()
{
    static const std::vector<int> made = []
    {
        std::vector<int> keys;
        for (const Command& command : commands())
            keys.push_back(command.key);
        keys.resize(commandCount - takenCount);
        std::shuffle(keys.begin(), keys.end(), std::mt19937(2));
        return keys;
    }();
    return made;
}

const std::vector<int>& freeKeys()
{
    static const std::vector<int> made = []
    {
        std::vector<int> keys = boundKeys();
        for (int& key : keys)
            key |= KeyCode::marked;
        return keys;
    }();
    return made;
}

const std::vector<Difference>& differences()
{
    static const std::vector<Difference> made = []
    {
        std::vector<Difference> result;
        for (std::size_t i = 0; i < addedCount; ++i)
            result.push_back({differenceName(commands()[i].name, commands()[i].key | KeyCode::keypad), true});
        for (std::size_t i = commandCount - takenCount; i < commandCount; ++i)
            result.push_back({differenceName(commands()[i].name, commands()[i].key), false});
        return result;
    }();
    return made;
}

namespace
{

void doNothing() {}

// In a store on the disk, which is nobody's.
void storeDifferences()
{
    ::setenv("MW_CONFIG_DIR", settings::folder().c_str(), 1);
    OS().replace(new ForwardingDesktop);
    std::vector<iSettings::Change> changes;
    for (const Difference& difference : differences())
        changes.push_back(
            {difference.name.c_str(), "Configuration\\MappingManager2", difference.adds ? "true" : "false"});
    OS().desktop().openSettings(L"userconfig.dat", iDesktop::eUserSettings)->apply(changes);
}

void start()
{
    auto* const table = new CommandMap;
    CommandMap::theCommandMap(table);
    for (const Command& command : commands())
        table->registerCommand(command.name.c_str(), doNothing, UIString(), UIString(), eCmdGlobal,
                               MapItem(command.key, false));
    CommandMapMMC::GlobalCommands().init();
}

const CommandMapMMC& started()
{
    static const bool isStarted = (storeDifferences(), start(), true);
    bench::keepNumber(isStarted);
    return CommandMapMMC::GlobalCommands();
}

void addPress(bench::Registry& registry, const char* caseName, const std::vector<int>& codes)
{
    registry.add(caseName, {bench::Role::ours, "ours",
                            [presses = Presses(codes)](std::size_t count) mutable
                            {
                                const CommandMapMMC& keys = started();
                                for (; count != 0; --count)
                                    bench::keepNumber(keys.tryKey(presses.next(), KeyEvent::ePressed));
                            }});
}

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        registry.declare({boundCase,
                          "Finds the command of a key among 2,000, and runs it.",
                          {{1.0, "std::map twice"}, {1.0, bench::bestPeer}}});
        registry.declare(
            {freeCase, "Finds that a key has no command; the peer runs one.", {{0.5, "std::map twice, bound"}}});
        registry.declare({startCase,
                          "Registers 2,000 commands, builds their key maps and applies 500 stored differences.",
                          {{1.8, "QSettings and QHash"}}});
        addPress(registry, boundCase, boundKeys());
        addPress(registry, freeCase, freeKeys());
        registry.add(startCase, {bench::Role::ours, "ours",
                                 [](std::size_t count)
                                 {
                                     for (started(); count != 0; --count)
                                         start();
                                 }});
    });

} // namespace

} // namespace bench::keys
