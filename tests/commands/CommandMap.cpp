#include "misc/commands/CommandMap.h"

#include "media/AssertionLines.h"
#include "misc/commands/CommandRegistrar.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <string>

namespace
{

// What the commands below saw last.
struct Call
{
    int function = -1;
    Cmd::Context context;
} lastCall;

template <int number>
void withContext(Cmd::Context const& context)
{
    lastCall = {number, context};
}

template <int number>
void plain()
{
    lastCall = {number, {}};
}

constexpr Cmd::Function withContexts[] = {withContext<0>, withContext<1>};
constexpr void (*plains[])() = {plain<10>, plain<11>};
const char* const names[] = {nullptr, "cut", "Cut", "trim", "play"};
const wchar_t* const shownNames[] = {L"", L"Cut it", L"CUT IT", L"Play"};

// The table as a plain list, which is searched from its beginning.
class Model
{
public:
    struct Entry
    {
        std::string name;
        bool isLive = true;
        Cmd::Function function = nullptr;
        int called = -1; // what runs
        void* userData = nullptr;
        const wchar_t* shown = L"";
        unsigned attribs = 0;
    };
    std::vector<Entry> entries;

    unsigned find(const std::string& name) const
    {
        return firstOf([&](const Entry& e) { return e.isLive && e.name == name; });
    }
    unsigned findShown(const wchar_t* shown) const
    {
        return firstOf([&](const Entry& e) { return ::wcscasecmp(e.shown, shown) == 0; });
    }
    unsigned add(const Entry& entry)
    {
        const unsigned found = find(entry.name);
        if (found != ~0u)
            return entries[found].function == entry.function ? found : ~0u;
        entries.push_back(entry);
        return static_cast<unsigned>(entries.size() - 1);
    }
    void remove(unsigned index)
    {
        entries[index].isLive = false;
        entries[index].shown = L"";
    }

private:
    template <class Is>
    unsigned firstOf(Is is) const
    {
        const auto found = std::find_if(entries.begin(), entries.end(), is);
        return found == entries.end() ? ~0u : static_cast<unsigned>(found - entries.begin());
    }
};

// Does the same to a table and to the model.
class Twins
{
public:
    explicit Twins(unsigned seed) : random_(seed) {}

    void step()
    {
        switch (below(4))
        {
        case 0:
            return registerWithContext();
        case 1:
            return registerPlain();
        case 2:
            return deregister();
        default:
            return call();
        }
    }

    void compare()
    {
        for (const char* const name : names)
            ASSERT_EQ(map_.findCommand(name), model_.find(name != nullptr ? name : ""));
        for (const wchar_t* const shown : shownNames)
            ASSERT_EQ(map_.findCommandByDisplayName(shown), model_.findShown(shown));
        for (unsigned i = 0; i < model_.entries.size(); ++i)
        {
            const Model::Entry& expected = model_.entries[i];
            const CommandMapRec* const record = map_.getCommand(i);
            ASSERT_EQ(record->commandFunction(), expected.isLive ? expected.function : nullptr);
            ASSERT_STREQ(record->commandName().c_str(), expected.isLive ? expected.name.c_str() : "");
            ASSERT_STREQ(record->displayName().c_str(), expected.shown);
            ASSERT_EQ(record->attribs(), expected.attribs);
        }
        ASSERT_EQ(map_.getCommand(static_cast<unsigned>(model_.entries.size())), nullptr);
    }

private:
    unsigned below(std::size_t end) { return static_cast<unsigned>(random_() % end); }
    unsigned anyIndex() { return below(model_.entries.size() + 2); }

    void enter(const Model::Entry& entry, unsigned index)
    {
        const bool isTaken = model_.find(entry.name) != ~0u;
        ASSERT_EQ(index, model_.add(entry));
        const bool isRefused = isTaken && index == ~0u;
        ASSERT_EQ(lines_.text().size() - seenLines_,
                  isRefused ? std::string("assertion failed it == map_.end() at misc/CommandMap line 193\n").size()
                            : 0);
        seenLines_ = lines_.text().size();
    }

    void registerWithContext()
    {
        const char* const name = names[below(std::size(names))];
        const unsigned which = below(2), attribs = below(4);
        const wchar_t* const shown = shownNames[below(std::size(shownNames))];
        enter({name != nullptr ? name : "", true, withContexts[which], static_cast<int>(which), &attribs_[attribs],
               shown, attribs},
              map_.registerCommand(name, withContexts[which], &attribs_[attribs], attribs, UIString(shown), UIString(),
                                   MapItem()));
    }

    void registerPlain()
    {
        const char* const name = names[below(std::size(names))];
        const unsigned which = below(2), scope = below(4);
        const wchar_t* const shown = shownNames[below(std::size(shownNames))];
        const unsigned attribs = scope == 1 || (scope == 2 && *shown != 0) ? 2 : 0;
        enter({name != nullptr ? name : "", true, CommandMap::contextlessCommandRedirector,
               static_cast<int>(10 + which), nullptr, shown, attribs},
              map_.registerCommand(name, plains[which], UIString(shown), UIString(), eCmdScope(scope), MapItem()));
    }

    void deregister()
    {
        const unsigned index = anyIndex();
        ASSERT_EQ(map_.deregisterCommand(index), index < model_.entries.size());
        if (index < model_.entries.size())
            model_.remove(index);
    }

    void call()
    {
        const unsigned index = below(2) == 0 ? anyIndex() : ~0u;
        const char* const name = names[below(std::size(names))];
        const unsigned expected = index != ~0u ? index : model_.find(name != nullptr ? name : "");
        lastCall = {};
        // Neither is the record's: the call replaces it.
        const Cmd::Context context{Cmd::eKeyReleased, nullptr, this};
        index != ~0u ? map_.callCommand(index, context) : map_.callCommand(name, context);
        if (expected >= model_.entries.size() || !model_.entries[expected].isLive)
        {
            ASSERT_EQ(lastCall.function, -1);
            return;
        }
        const Model::Entry& entry = model_.entries[expected];
        ASSERT_EQ(lastCall.function, entry.called);
        ASSERT_EQ(lastCall.context.userData_, entry.userData);
        ASSERT_EQ(lastCall.context.eventKind_, entry.called < 10 ? Cmd::eKeyReleased : Cmd::eFired);
    }

    std::mt19937 random_;
    int attribs_[4] = {};
    CommandMap map_;
    Model model_;
    AssertionLines lines_;
    std::size_t seenLines_ = 0;
};

TEST(CommandMap, equalsAListThatIsSearchedFromItsBeginning)
{
    for (unsigned seed = 0; seed < 40; ++seed)
    {
        Twins twins(seed);
        for (int step = 0; step < 60 && !testing::Test::HasFatalFailure(); ++step)
        {
            twins.step();
            twins.compare();
        }
        ASSERT_FALSE(testing::Test::HasFatalFailure()) << "seed " << seed;
    }
}

TEST(CommandMap, complainsOfACallersContextForAFunctionWithoutOneAndRunsIt)
{
    CommandMap map;
    const unsigned index = map.registerCommand("stop", plain<12>, {}, {}, eCmdLocal, MapItem());
    AssertionLines lines;
    lastCall = {};
    map.callCommand(index, {Cmd::eFired, &map, nullptr});
    EXPECT_EQ(lastCall.function, 12);
    EXPECT_EQ(lines.text(), "assertion failed context.callerContext_ == NULL at misc/CommandMap line 155\n");
}

// A command may register so many others that its own record moves.
TEST(CommandMap, growsWhileACommandRunsAndKeepsItsRecords)
{
    static CommandMap* map;
    const auto owned = std::make_unique<CommandMap>();
    map = owned.get();
    const auto grow = [](Cmd::Context const& context)
    {
        for (int i = 0; i < 1000; ++i)
            map->registerCommand(std::to_string(i).c_str(), withContext<0>, nullptr, 0,
                                 map->getCommand(0)->displayName(), {}, map->getCommand(0)->defaultMapItem());
        lastCall = {7, context};
    };
    const UIString shown(ResId{11705});
    map->registerCommand("grow", grow, &map, 0, shown, {}, MapItem(27, false));
    map->callCommand("grow", {});
    EXPECT_EQ(lastCall.function, 7);
    EXPECT_EQ(lastCall.context.userData_, &map);
    EXPECT_EQ(map->getCommand(1000)->defaultMapItem().mappedKeyCode(), 27);
    EXPECT_STREQ(map->getCommand(1000)->displayName().c_str(), L"Esc");
}

TEST(CommandMap, isReplacedByAnotherWithAllItsCommands)
{
    // In a process of its own: the commands of the one before are gone for good.
    const auto replace = []
    {
        auto* const map = new CommandMap;
        CommandMap::theCommandMap(map);
        CommandMap::theCommandMap(map);
        bool good = CommandMap::instance() == map && map->findCommand("Toggle win32 debug") == ~0u;
        CommandMap::theCommandMap(nullptr);
        good = good && CommandMap::theCommandMap()->getCommand(0) == nullptr;
        std::_Exit(good ? 0 : 1);
    };
    EXPECT_EXIT(replace(), testing::ExitedWithCode(0), "");
}

} // namespace
