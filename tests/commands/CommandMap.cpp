#include "misc/commands/CommandMap.h"

#include "media/AssertionLines.h"

#include <gtest/gtest.h>

#include <string>

namespace
{

int ran = 0;
Cmd::Context seen;

void withContext(Cmd::Context const& context)
{
    ran = 1;
    seen = context;
}

void other(Cmd::Context const&) {}

void plain()
{
    ran = 3;
}

constexpr unsigned none = CommandMap::invalidIndex;

TEST(CommandMap, keepsTheRecordsOfCommandsThatComeAndGo)
{
    CommandMap map;
    AssertionLines lines;
    const auto enter = [&](const char* name, Cmd::Function function, const wchar_t* shown = L"")
    { return map.registerCommand(name, function, &map, 1, UIString(shown), {}, {}); };
    EXPECT_EQ(enter("cut", withContext, L"Cut it"), 0u);
    EXPECT_EQ(enter("Cut", other, L"CUT IT"), 1u);
    EXPECT_EQ(enter(nullptr, other, L"No name"), 2u);
    EXPECT_EQ(enter("cut", withContext, L"Another"), 0u);
    EXPECT_EQ(lines.text(), "");
    EXPECT_EQ(enter("cut", other), none);
    EXPECT_EQ(lines.text(), "assertion failed it == map_.end() at misc/CommandMap line 193\n");

    EXPECT_TRUE(map.deregisterCommand(0));
    EXPECT_TRUE(map.deregisterCommand(0)) << "which is not the command without a name";
    EXPECT_EQ(map.findCommand("cut"), none);
    EXPECT_EQ(map.findCommand(nullptr), 2u);
    EXPECT_EQ(map.findCommandByDisplayName(L"cut it"), 1u);
    EXPECT_EQ(enter("cut", other), 3u);
}

TEST(CommandMap, callsFunctionsWithAContextAndWithout)
{
    CommandMap map;
    unsigned index = 0;
    for (const eCmdScope scope : {eCmdLocal, eCmdGlobal, eCmdGlobalIfNamed})
        for (const wchar_t* const shown : {L"", L"Stop"})
        {
            const std::string name = std::to_string(index);
            EXPECT_EQ(map.registerCommand(name.c_str(), plain, UIString(shown), {}, scope, MapItem()), index);
            const bool isGlobal = scope == eCmdGlobal || (scope == eCmdGlobalIfNamed && *shown != 0);
            EXPECT_EQ(map.getCommand(index++)->attribs(), isGlobal ? 2u : 0u);
        }
    AssertionLines lines;
    map.callCommand("0", {Cmd::eFired, &map, nullptr});
    EXPECT_EQ(std::exchange(ran, 0), 3);
    EXPECT_EQ(lines.text(), "assertion failed context.callerContext_ == NULL at misc/CommandMap line 155\n");

    const unsigned cut = map.registerCommand("cut", withContext, &map, 0, {}, {}, {});
    map.callCommand("cut", {Cmd::eKeyReleased, nullptr, nullptr});
    EXPECT_EQ(std::exchange(ran, 0), 1);
    EXPECT_TRUE(seen.userData_ == &map && seen.eventKind_ == Cmd::eKeyReleased);
    map.deregisterCommand(cut);
    for (const unsigned gone : {cut, cut + 1})
        map.callCommand(gone, {});
    EXPECT_EQ(ran, 0);
}

// A command may register so many others that its own record moves, and may pass on what it has.
TEST(CommandMap, growsWhileACommandRuns)
{
    static CommandMap map;
    const auto grow = [](Cmd::Context const&)
    {
        for (int i = 0; i < 100; ++i)
            map.registerCommand(std::to_string(i).c_str(), withContext, nullptr, 0, map.getCommand(0)->displayName(),
                                {}, map.getCommand(0)->defaultMapItem());
    };
    map.registerCommand("grow", grow, nullptr, 0, UIString(ResId{11705}), {}, MapItem(27, false));
    map.callCommand("grow", {});
    EXPECT_EQ(map.getCommand(100)->defaultMapItem().mappedKeyCode(), 27);
    EXPECT_EQ(map.getCommand(100)->displayName(), L"Esc");
}

} // namespace
