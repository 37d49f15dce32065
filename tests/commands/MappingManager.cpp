#include "misc/commands/MappingManager.h"

#include "OS/testing/TestDesktop.h"
#include "libmw/Text.h"
#include "misc/commands/BuiltInMappers.h"
#include "misc/commands/CommandMap.h"
#include "misc/commands/KeyCode.h"
#include "misc/commands/MappingManagerRegistryString.h"
#include "misc/settings/RegistryConfig.h"

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <random>
#include <set>
#include <string>

namespace
{

using Name = LightweightString<char>;
using Lines = Vector<Name>;

constexpr const char* section = "Configuration\\MappingManager2";
constexpr auto scope = MappingManagerClientBase::clientScope;

MappingManager& manager()
{
    return MappingManager::globalMappingManager();
}

// Two clients on a store in memory: "A" finds commands in one search, "B" walks numbers, two of which are equal.
class Mappings : public testing::Test
{
protected:
    Mappings() { start(); }
    // The clients of every program know nothing of this store.
    ~Mappings() override { manager().resetToDefault(); }

    void start()
    {
        a_.reset();
        b_.reset();
        a_ = std::make_unique<SimpleKeyMapper>(
            "A", ResId(11959), ResId::none,
            std::vector<KeyMap>{KeyMap("Play", MapItem(' ', false), MapItem('r', true)),
                                KeyMap("Stop", MapItem('s', false), MapItem('k', false)), KeyMap("play"),
                                KeyMap("MarkIn", MapItem(0x2000049, false))},
            true, scope);
        b_ = std::make_unique<SimpleKeyMapper>(
            "B", ResId(11960), ResId::none,
            std::vector<KeyMap>{KeyMap(5, MapItem('c', false)), KeyMap(6, MapItem('c', false), gesture_),
                                KeyMap(7, MapItem(slotless, false)), KeyMap(5, MapItem('d', false))},
            false, scope);
    }

    static unsigned indexOf(const SimpleKeyMapper& client)
    {
        unsigned index = 0;
        while (manager().client(index) != &client)
            ++index;
        return index;
    }
    bool add(unsigned map, int key) { return manager().addToKeyMap(indexOf(*a_), map, key); }
    bool remove(unsigned map, int key) { return manager().removeFromKeyMap(indexOf(*a_), map, key); }

    // The keys of each output, in their order. Actions of equal outputs are one, and share their keys in no order.
    std::map<std::string, std::vector<std::string>> mappings() const
    {
        std::map<std::string, std::vector<std::string>> all;
        for (const SimpleKeyMapper* const client : {a_.get(), b_.get()})
            for (unsigned index = 0; index < client->numKeyMaps(); ++index)
            {
                const KeyMap& map = *client->keyMap(index);
                auto& keys = all[client->internalName().c_str() + std::to_string(map.outputValue()) +
                                 map.outputString().c_str()];
                for (const MapItem& item : map.mapItems())
                {
                    keys.emplace_back(toUTF8(keycodeToString(item.mappedKeyCode())).c_str());
                    EXPECT_NE(client->lookup(item.mappedKeyCode()), nullptr);
                }
                if (map.outputValue() == 5)
                {
                    std::ranges::sort(keys);
                    keys.erase(std::unique(keys.begin(), keys.end()), keys.end());
                }
            }
        return all;
    }

    static std::vector<MapItem> fillSlots()
    {
        std::vector<MapItem> all;
        for (int number = 0; number < ComplexKeyboardEventManager::numSlots; ++number)
            all.emplace_back(ComplexKeyboardEvent{number, 1, 1}, false);
        return all;
    }

    static std::map<std::string, std::string> stored()
    {
        std::vector<iSettings::NameValuePair> values;
        UserConfig().getMultipleValues(values, section);
        std::map<std::string, std::string> all;
        for (const auto& [name, value] : values)
            all[name.c_str()] = value.c_str();
        return all;
    }
    static void store(const char* name, bool value) { UserConfig().setValue(name, value, section); }

    static constexpr ComplexKeyboardEvent slotless{'p', 'q', 0}; // unless there is a free slot at the start

    TestDesktop desktop_;
    OSReplacement<iDesktop> replaced_{desktop_};
    MapItem gesture_{ComplexKeyboardEvent{'h', 'j', 1}, false};
    std::unique_ptr<SimpleKeyMapper> a_;
    std::unique_ptr<SimpleKeyMapper> b_;
};

using Stored = std::map<std::string, std::string>;

} // namespace

TEST_F(Mappings, liveIsReloadedAfterAnyChanges)
{
    const char* const strange[] = {"TRUE:A:\"stop\":X::::   comment",
                                   "true:A:\"Play\":0x53::::",
                                   "true:A:\"MarkIn\":0x53::::",
                                   "false:A:\"sTOP\":0x73::::",
                                   "true:A:\"stop\":0x0073:x:y:z:",
                                   "true:B:0x5:0x78::::",
                                   "true:B:0x0005:0x64::::",
                                   "true:B:0x6::p:q::",
                                   "false:B:0x7::p:q::",
                                   "true:Later:\"Command\":0x0041::::",
                                   "true:A:five:colons::",
                                   "no line"};
    const auto settings = desktop_.settings(L"userconfig.dat", iDesktop::eUserSettings);
    store("Unknown:\"Command\":0x0041::::", true);
    std::mt19937 random(7);
    const auto below = [&](std::size_t count) { return static_cast<unsigned>(random() % count); };
    const int keys[] = {' ', 'r', 's', 'k', 'c', 'd', 'A', 'S', 0x2000049, gesture_.mappedKeyCode()};
    Lines kept;
    // A start whose store may refuse to bring names to the present form.
    const auto startAgain = [&]
    {
        settings->failWith(below(2) != 0 ? iSettings::eFailed : iSettings::eStored);
        start();
        settings->failWith(iSettings::eStored);
    };
    for (int sequence = 0; sequence < 3000; ++sequence)
    {
        const std::vector<MapItem> others = below(4) == 0 ? fillSlots() : std::vector<MapItem>();
        for (unsigned more = below(4); more > 0; --more)
        {
            const std::string line = strange[below(std::size(strange) - 1)];
            store(line.substr(line.find(':') + 1).c_str(), line[0] != 'f');
        }
        startAgain();
        for (unsigned step = below(12) + 1; step > 0; --step)
        {
            const unsigned client = indexOf(below(2) != 0 ? *a_ : *b_);
            const unsigned map = below(manager().client(client)->numKeyMaps());
            const auto before = mappings();
            const Stored storedBefore = stored();
            settings->failWith(below(8) == 0 ? iSettings::eFailed : iSettings::eStored);
            bool isDone = false;
            switch (below(10))
            {
            case 0:
                isDone = manager().resetToDefault();
                break;
            case 1:
                isDone = manager().resetToDefault(client);
                break;
            case 2:
                isDone = manager().resetToDefault(client, map);
                break;
            case 3:
                kept.clear();
                manager().exportMappings(kept);
                break;
            case 4:
                for (unsigned more = below(4); more > 0; --more)
                    kept.push_back(strange[below(std::size(strange))]);
                isDone = manager().importMappings(kept);
                break;
            case 5:
            case 6:
                isDone = manager().removeFromKeyMap(client, map, keys[below(std::size(keys))]);
                break;
            default:
                isDone = manager().addToKeyMap(client, map, keys[below(std::size(keys))]);
            }
            settings->failWith(iSettings::eStored);
            if (!isDone)
            {
                ASSERT_EQ(mappings(), before);
                ASSERT_EQ(stored(), storedBefore);
            }
        }
        const auto live = mappings();
        startAgain();
        ASSERT_EQ(mappings(), live) << sequence;
        ASSERT_EQ(stored().at("Unknown:\"Command\":0x0041::::"), "true");
    }
}

TEST_F(Mappings, onlyDifferencesAreStored)
{
    EXPECT_FALSE(add(0, ' ') || add(1, ' ') || add(9, 'x')) << "the action or another one has it, or there is none";
    EXPECT_FALSE(remove(0, 'r') || remove(1, 'x')) << "read only, or not there";
    EXPECT_TRUE(remove(0, ' '));
    EXPECT_EQ(stored(), (Stored{{"A:\"Play\":0x0020::::", "false"}}));
    EXPECT_TRUE(add(0, ' '));
    EXPECT_EQ(stored(), (Stored{{"A:\"Play\":0x0020::::", "true"}}));
    manager().resetToDefault(indexOf(*a_));
    EXPECT_EQ(stored(), Stored());

    EXPECT_TRUE(add(1, 0x12000058));
    EXPECT_TRUE(manager().addToKeyMap(indexOf(*b_), 0, gesture_.mappedKeyCode()));
    EXPECT_EQ(stored(), (Stored{{"A:\"Stop\":0x12000058::::", "true"}, {"B:0x0005::0x0068:0x006A:P:", "true"}}));
}

TEST_F(Mappings, oneActionIsResetAndLeavesItsKeyToTheOneThatHasIt)
{
    EXPECT_TRUE(remove(0, ' '));
    EXPECT_TRUE(add(1, ' '));
    EXPECT_TRUE(add(1, 'x'));
    EXPECT_TRUE(manager().resetToDefault(indexOf(*a_), 0));
    EXPECT_EQ(a_->lookup(' '), a_->keyMap(1));
    EXPECT_TRUE(manager().resetToDefault(indexOf(*a_), 1));
    EXPECT_EQ(a_->lookup('x'), nullptr);
    EXPECT_TRUE(manager().resetToDefault());
    EXPECT_EQ(a_->lookup(' '), a_->keyMap(0));
    EXPECT_EQ(stored(), Stored());
}

TEST_F(Mappings, storedNamesAreBroughtToThePresentForm)
{
    GlobalConfig().setValue("Show Mapping Comments", true, "");
    store("A:\"stop\":0x58::::", true);
    store("A:\"stop\":CTRL+I:::", true);
    store("A:\"play\"::0x61:alt+b:P:", true);
    start();
    EXPECT_EQ(stored(), (Stored{{"A:\"Stop\":0x0058::::   Stop <- 'X'", "true"},
                                {"A:\"stop\":CTRL+I:::", "true"},
                                {"A:\"play\"::0x0061:0x4000062:P:   play <- HOLD 'a' PRESS Alt+b", "true"}}));
    // The user's word about a key ends what is stored of it in other words.
    GlobalConfig().setValue("Show Mapping Comments", false, "");
    EXPECT_TRUE(remove(1, 'X'));
    EXPECT_EQ(stored().size(), 2u);
}

TEST(StoredMapping, isRefusedIfItsNameCannotBeRead)
{
    for (const char* const name : {"A:\"Stop\":0x41:::", // five colons
                                   "A:\"Stop\":0x::::", "A:\"Stop\":0x-1::::", "A:\"Stop\":0xFFFFFFFFF::::",
                                   "A:\"Stop\":0x40000001::::", // somebody's slot
                                   "A:\"Stop\":\xE9::::", "A:\"Stop:0x41::::", "A:\":0x41::::", "A:Stop:0x41::::",
                                   "A:\"Stop\"::0x41::P:", "A:\"Stop\"::0x41:0x42:p:", "B:0xFFFFFFFFF:0x41::::"})
        EXPECT_FALSE(MappingManagerRegistryString().registryString(name)) << name;
}

TEST_F(Mappings, oldKeysAreConvertedOnceAndOnImport)
{
    UserConfig().setValue("A:\"Stop\":0x0258::::", true, "MappingManager");
    UserConfig().setValue("B:0x0805::0x0147:0x004D::", false, "MappingManager");
    UserConfig().setValue("unreadable", true, "MappingManager");
    const Stored converted{{"A:\"Stop\":0x2000058::::", "true"}, {"B:0x8000005::0x1000047:0x004D::", "false"}};
    MappingManager();
    EXPECT_EQ(stored(), converted);
    start();
    EXPECT_EQ(a_->lookup(0x2000058), a_->keyMap(1));
    EXPECT_TRUE(manager().resetToDefault(indexOf(*a_)));
    UserConfig().removeValue("B:0x8000005::0x1000047:0x004D::", section);
    MappingManager();
    EXPECT_EQ(stored(), Stored()) << "what the user has reset stays reset";

    EXPECT_TRUE(manager().importLegacyMappings({"true:A:\"Stop\":0x0258::::", "True:nothing:"}));
    EXPECT_EQ(a_->lookup(0x2000058), a_->keyMap(1));
    EXPECT_TRUE(manager().importMappings({}));
    EXPECT_EQ(a_->lookup(0x2000058), nullptr);
}

TEST_F(Mappings, aGestureWithoutASlotIsLeftInTheStore)
{
    b_.reset();
    std::vector<MapItem> all = fillSlots();
    store("A:\"stop\"::0x71:0x72::", true);
    store("A:\"play\"::0x73:0x74::", true);
    start();
    EXPECT_EQ(b_->keyMap(2)->mapItems().size(), 0u) << "a default gesture";
    EXPECT_TRUE(manager().resetToDefault(indexOf(*a_), 2));
    EXPECT_EQ(stored(), (Stored{{"A:\"stop\"::0x71:0x72::", "true"}}));
    all.clear();
    start();
    EXPECT_EQ(stored(), (Stored{{"A:\"Stop\"::0x0071:0x0072::", "true"}}));
}

TEST_F(Mappings, conflictsAndTheExplanationOfAKey)
{
    EXPECT_TRUE(add(2, 27));
    EXPECT_TRUE(remove(0, ' '));
    EXPECT_TRUE(add(1, ' '));
    std::set<int> codes;
    for (const MappingManager::Conflict& conflict : manager().conflicts())
        if (conflict.uses.back().client >= 2)
            codes.insert(conflict.keycode);
    EXPECT_EQ(codes, (std::set<int>{27, 'c'}));
    CommandMap::theCommandMap()->registerCommand("Stop", [] {}, {}, {}, eCmdLocal, {});
    EXPECT_EQ(toUTF8(manager().explainKey(' ')), "Key 0x0020, Space\n"
                                                 "  A: Play, taken away by a stored difference\n"
                                                 "  A: Stop, by a stored difference\n"
                                                 "Command: Stop\n");
    EXPECT_EQ(toUTF8(manager().explainKey(27)), "Key 0x001B, Esc\n"
                                                "  TextEditingMapper: 0x2000001B (*+\x1B), by default\n"
                                                "  A: play, by a stored difference\n"
                                                "Command: none\n");
}

TEST_F(Mappings, whatCannotBeStoredIsNoChange)
{
    const auto client = [](const char* name, const char* action)
    {
        const std::vector<KeyMap> maps{KeyMap(action, MapItem('x', false))};
        return SimpleKeyMapper(name, ResId::none, ResId::none, maps, true, scope);
    };
    const SimpleKeyMapper clients[] = {client("C", "a:b"), client("C:D", "c")};
    for (const SimpleKeyMapper& each : clients)
    {
        EXPECT_FALSE(manager().addToKeyMap(indexOf(each), 0, 'y'));
        EXPECT_FALSE(manager().removeFromKeyMap(indexOf(each), 0, 'x'));
        EXPECT_EQ(each.keyMap(0)->mapItems().size(), 1u);
    }
    EXPECT_EQ(stored(), Stored());
    // One of a name that is taken takes nothing from the one that has it.
    EXPECT_FALSE(client("A", "c").isRegistered());
    EXPECT_TRUE(add(0, 'x'));
}

// Both actions have the key by default, which is reported; the first is found, and each gets it back.
TEST_F(Mappings, aKeyOfTwoActionsGoesToTheOther)
{
    SimpleKeyMapper shared("S", ResId::none, ResId::none,
                           std::vector<KeyMap>{KeyMap(1, MapItem('x', false)), KeyMap(2, MapItem('x', false))}, true,
                           scope);
    EXPECT_TRUE(manager().removeFromKeyMap(indexOf(shared), 0, 'x'));
    EXPECT_EQ(shared.lookup('x', 0), 2);
    EXPECT_TRUE(manager().resetToDefault(indexOf(shared)));
    EXPECT_EQ(shared.lookup('x', 0), 1);
}

// Actions with one output share the stored difference.
TEST_F(Mappings, aKeyThatOneOfTwoEqualActionsKeepsIsKept)
{
    const unsigned client = indexOf(*b_);
    EXPECT_TRUE(manager().addToKeyMap(client, 0, 'y') && manager().addToKeyMap(client, 3, 'y'));
    EXPECT_TRUE(manager().removeFromKeyMap(client, 0, 'y'));
    EXPECT_EQ(stored(), (Stored{{"B:0x0005:0x0079::::", "true"}}));
}

TEST(BuiltInMappers, areThereBeforeMain)
{
    EXPECT_TRUE(manager().client(0) == &ConsoleMapper() && manager().client(1) == &TextEditingMapper());
    EXPECT_EQ(TextEditingMapper().lookup(0x100043, 0), 0x22000043);
}
