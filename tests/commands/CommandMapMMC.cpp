#include "misc/commands/CommandMapMMC.h"

#include "libmw/Text.h"
#include "misc/commands/BuiltInMappers.h"
#include "misc/commands/CommandMap.h"
#include "misc/commands/KeyCode.h"
#include "misc/commands/MappingManager.h"

#include <gtest/gtest.h>

#include <string>

namespace
{

using Codes = std::vector<int>;

CommandMapMMC& commands()
{
    return CommandMapMMC::GlobalCommands();
}

CommandMap& table()
{
    return *CommandMap::theCommandMap();
}

// What ran, and with which event.
std::vector<std::pair<int, int>> calls;

template <int number>
void note(Cmd::Context const& context)
{
    EXPECT_EQ(context.callerContext_, nullptr);
    calls.emplace_back(number, context.eventKind_);
}

MapItem key(int code)
{
    return MapItem(code, false);
}

// A command that is gone at the end, with its keys.
struct Registered
{
    Registered(const char* name, Cmd::Function function, unsigned attribs, const MapItem& item,
               const wchar_t* shown = L"")
        : index(table().registerCommand(name, function, nullptr, attribs, UIString(shown), {}, item))
    {
        commands().init();
    }
    ~Registered()
    {
        table().deregisterCommand(index);
        commands().init();
    }
    const unsigned index;
};

TEST(CommandMapMMC, runsPlainCommandsOnThePressAndOthersOnEveryEvent)
{
    const Registered plain("test plain", note<1>, 0, key('p'));
    const Registered both("test both", note<2>, CommandMapRec::eWantsBothEvents, key('b'));
    using Calls = std::vector<std::pair<int, int>>;
    for (const int type : {-1, 0, 1, 2})
    {
        calls.clear();
        EXPECT_EQ(commands().tryKey('p', KeyEvent::eType(type)), plain.index);
        EXPECT_EQ(commands().tryKey('b', KeyEvent::eType(type)), both.index);
        EXPECT_EQ(commands().tryKey('q', KeyEvent::eType(type)), 0u);
        EXPECT_EQ(calls, type == KeyEvent::ePressed ? (Calls{{1, 0}, {2, 1}}) : (Calls{{2, 2}})) << type;
    }
}

TEST(CommandMapMMC, findsTheCommandThatHasTheNameNow)
{
    const auto press = [](int code) { return commands().tryKey(code, KeyEvent::ePressed); };
    const Registered old("test name", note<1>, 0, key('n'));
    EXPECT_EQ(press('n'), old.index);
    table().deregisterCommand(old.index);
    EXPECT_EQ(press('n'), 0u) << "before the key maps are built anew";
    const Registered next("test name", note<2>, 0, key('m'));
    table().deregisterCommand(next.index);
    const unsigned last = table().registerCommand("test name", note<3>, nullptr, 0, {}, {}, {});
    EXPECT_EQ(press('m'), last) << "found by its name";
    EXPECT_EQ(calls.back().first, 3);
    table().deregisterCommand(last);
}

TEST(CommandMapMMC, letsACommandTakeItselfAndTheKeyMapsAway)
{
    const auto vanish = [](Cmd::Context const&)
    {
        table().deregisterCommand(table().findCommand("test vanish"));
        commands().init();
    };
    const Registered command("test vanish", vanish, 0, key('v'));
    EXPECT_EQ(commands().tryKey('v', KeyEvent::ePressed), command.index);
    EXPECT_EQ(commands().tryKey('v', KeyEvent::ePressed), 0u);
    EXPECT_EQ(commands().findCommandBoundToKey('v'), "");
}

TEST(CommandMapMMC, keepsTheUsersKeysWhenItIsBuiltAnew)
{
    MappingManager& manager = MappingManager::globalMappingManager();
    const Registered command("test keys", note<1>, CommandMapRec::eGlobalScope, key('k'));
    const auto change = [&](auto operation, int boundKey, int code)
    {
        // What was built last is the last client.
        const unsigned client = manager.numClients() - 1;
        const MappingManagerClientBase& maps = *manager.client(client);
        const int map = maps.findIndex(maps.handlerOf(boundKey));
        EXPECT_TRUE((manager.*operation)(client, static_cast<unsigned>(map), code));
        commands().init();
    };
    change(&MappingManager::addToKeyMap, 'k', 0x2000041);
    EXPECT_EQ(commands().getKeysAssignedToCommand("test keys"), (Codes{'k', 0x2000041}));
    change(&MappingManager::removeFromKeyMap, 'k', 'k');
    EXPECT_EQ(commands().tryKey('k', KeyEvent::ePressed), 0u);
    EXPECT_EQ(commands().tryKey(0x2000041, KeyEvent::ePressed), command.index);
    EXPECT_TRUE(manager.resetToDefault());
    EXPECT_EQ(commands().getKeysAssignedToCommand("test keys"), (Codes{'k'}));
}

TEST(CommandMapMMC, listsTheKeysOfACommandOverAllClients)
{
    const KeyMap& consoleMap = *ConsoleMapper().keyMap(0);
    const LightweightString<wchar_t> consoleName = L"Console:" + consoleMap.displayName();
    const Registered console("test console", note<2>, CommandMapRec::eGlobalScope, key('c'), consoleName.c_str());
    const int consoleKey = KeyCode::console | 3;
    const SimpleKeyMapper other(
        "test client", ResId::none, ResId::none,
        {KeyMap("test console", MapItem(KeyCode::console | 4, true), key(consoleKey), L"Shown", {}, KeyMap::inReports),
         KeyMap(5, key('5'), L"Shown", {}, KeyMap::inReports), KeyMap(6, key('6'), L"shown", {}, KeyMap::inReports)},
        true, MappingManagerClientBase::clientScope);

    // What the user gives a key of the console is the command's that has its display name.
    ASSERT_EQ(ConsoleMapper().addToKeyMap(0, KeyCode::console | 2), 0);
    EXPECT_EQ(commands().getKeysAssignedToCommand("test console"), (Codes{KeyCode::console | 2, 'c', consoleKey}));
    EXPECT_EQ(commands().getKeysAssignedToCommand(LightweightString<wchar_t>(L"Shown")), (Codes{consoleKey, '5'}));
    EXPECT_EQ(commands().getKeysAssignedToCommand(nullptr, consoleMap.displayName()), (Codes{KeyCode::console | 2}));
    ConsoleMapper().removeFromKeyMap(0, KeyCode::console | 2);
}

} // namespace
