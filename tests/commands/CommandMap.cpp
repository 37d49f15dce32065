#include "misc/commands/CommandMap.h"

#include "media/AssertionLines.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cwchar>
#include <memory>
#include <random>
#include <string>

namespace
{

// What ran last: the command with context 0 or 1, or without one 10 or 11.
int ran = -1;
Cmd::Context seen;

template <int number>
void withContext(Cmd::Context const& context)
{
    ran = number;
    seen = context;
}

template <int number>
void plain()
{
    ran = number;
}

const char* const names[] = {nullptr, "cut", "Cut", "trim"};
const wchar_t* const shownNames[] = {L"", L"Cut it", L"CUT IT", L"Play"};

// A table beside a plain list that is searched from its beginning, and has the same done to it.
class Twins
{
public:
    explicit Twins(unsigned seed) : random_(seed) {}

    void step()
    {
        const char* const name = names[below(4)];
        const unsigned index = below(entries_.size() + 2);
        switch (below(4))
        {
        case 0:
            EXPECT_EQ(map_.deregisterCommand(index), index < entries_.size());
            if (index < entries_.size())
                entries_[index] = {false, "", nullptr, -1, L"", entries_[index].attribs};
            break;
        case 1:
            map_.callCommand(index, {Cmd::eKeyReleased, nullptr, this});
            return expectRun(index);
        case 2:
            map_.callCommand(name, {Cmd::eKeyReleased, nullptr, this});
            return expectRun(find(name));
        default:
            enter(name, shownNames[below(4)], below(4), below(2));
        }
    }

    void compare()
    {
        for (const char* const name : names)
            ASSERT_EQ(map_.findCommand(name), find(name));
        for (const wchar_t* const shown : shownNames)
            ASSERT_EQ(map_.findCommandByDisplayName(shown),
                      indexOf([&](const Entry& e) { return ::wcscasecmp(e.shown, shown) == 0; }));
        for (unsigned i = 0; i < entries_.size(); ++i)
        {
            const CommandMapRec& record = *map_.getCommand(i);
            ASSERT_TRUE(record.commandFunction() == entries_[i].function && record.attribs() == entries_[i].attribs &&
                        record.commandName() == entries_[i].name.c_str() && record.displayName() == entries_[i].shown);
        }
        ASSERT_EQ(map_.getCommand(static_cast<unsigned>(entries_.size())), nullptr);
    }

private:
    struct Entry
    {
        bool isLive;
        std::string name;
        Cmd::Function function;
        int runs;
        const wchar_t* shown;
        unsigned attribs;
    };

    unsigned below(std::size_t end) { return static_cast<unsigned>(random_() % end); }
    template <class Is>
    unsigned indexOf(Is is) const
    {
        const auto found = std::find_if(entries_.begin(), entries_.end(), is);
        return found == entries_.end() ? ~0u : static_cast<unsigned>(found - entries_.begin());
    }
    unsigned find(const char* name) const
    {
        return indexOf([&](const Entry& e) { return e.isLive && e.name == (name != nullptr ? name : ""); });
    }

    // The attributes are a scope for a command without context.
    void enter(const char* name, const wchar_t* shown, unsigned attribs, unsigned which)
    {
        const bool hasContext = below(2) == 0;
        const Cmd::Function function = which == 0 ? withContext<0> : withContext<1>;
        const unsigned index = hasContext
                                   ? map_.registerCommand(name, function, &attribs_, attribs, UIString(shown), {}, {})
                                   : map_.registerCommand(name, which == 0 ? plain<10> : plain<11>, UIString(shown), {},
                                                          eCmdScope(attribs), {});
        const Cmd::Function stored = hasContext ? function : CommandMap::contextlessCommandRedirector;
        const unsigned old = find(name);
        const bool isRefused = old != ~0u && entries_[old].function != stored;
        ASSERT_EQ(index, isRefused ? ~0u : std::min<std::size_t>(old, entries_.size()));
        expectedLines_ += isRefused ? "assertion failed it == map_.end() at misc/CommandMap line 193\n" : "";
        ASSERT_EQ(lines_.text(), expectedLines_);
        if (old != ~0u)
            return;
        const bool isGlobal = attribs == 1 || (attribs == 2 && *shown != 0);
        entries_.push_back({true, name != nullptr ? name : "", stored,
                            static_cast<int>(hasContext ? which : 10 + which), shown,
                            hasContext ? attribs : isGlobal * 2u});
    }

    void expectRun(unsigned index)
    {
        const int expected = index < entries_.size() ? entries_[index].runs : -1;
        EXPECT_EQ(ran, expected);
        const bool hasContext = expected == 0 || expected == 1;
        EXPECT_TRUE(!hasContext || (seen.userData_ == &attribs_ && seen.eventKind_ == Cmd::eKeyReleased));
        ran = -1;
    }

    std::mt19937 random_;
    int attribs_ = 0;
    CommandMap map_;
    std::vector<Entry> entries_;
    AssertionLines lines_;
    std::string expectedLines_;
};

TEST(CommandMap, equalsAListThatIsSearchedFromItsBeginning)
{
    for (unsigned seed = 0; seed < 40; ++seed)
    {
        Twins twins(seed);
        for (int step = 0; step < 60 && !testing::Test::HasFailure(); ++step)
        {
            twins.step();
            twins.compare();
        }
        ASSERT_FALSE(testing::Test::HasFailure()) << "seed " << seed;
    }
}

TEST(CommandMap, complainsOfACallersContextForAFunctionWithoutOneAndRunsIt)
{
    CommandMap map;
    const unsigned index = map.registerCommand("stop", plain<12>, {}, {}, eCmdLocal, MapItem());
    AssertionLines lines;
    map.callCommand(index, {Cmd::eFired, &map, nullptr});
    EXPECT_EQ(std::exchange(ran, -1), 12);
    EXPECT_EQ(lines.text(), "assertion failed context.callerContext_ == NULL at misc/CommandMap line 155\n");
}

// A command may register so many others that its own record moves, and may pass on what it has.
TEST(CommandMap, growsWhileACommandRuns)
{
    static CommandMap map;
    const auto grow = [](Cmd::Context const&)
    {
        for (int i = 0; i < 100; ++i)
            map.registerCommand(std::to_string(i).c_str(), withContext<0>, nullptr, 0, map.getCommand(0)->displayName(),
                                {}, map.getCommand(0)->defaultMapItem());
    };
    const UIString shown(ResId{11705});
    map.registerCommand("grow", grow, nullptr, 0, shown, {}, MapItem(27, false));
    map.callCommand("grow", {});
    EXPECT_EQ(map.getCommand(100)->defaultMapItem().mappedKeyCode(), 27);
    EXPECT_EQ(map.getCommand(100)->displayName(), L"Esc");
}

TEST(CommandMap, isReplacedByAnotherWithAllItsCommands)
{
    // In a process of its own: the commands of the one before are gone for good.
    const auto replace = []
    {
        auto* const map = new CommandMap;
        CommandMap::theCommandMap(map);
        CommandMap::theCommandMap(map);
        const bool isReplaced = CommandMap::instance() == map && map->findCommand("Toggle win32 debug") == ~0u;
        CommandMap::theCommandMap(nullptr);
        std::_Exit(isReplaced && CommandMap::theCommandMap()->getCommand(0) == nullptr ? 0 : 1);
    };
    EXPECT_EXIT(replace(), testing::ExitedWithCode(0), "");
}

} // namespace
