#include "OS/Settings.h"

#include "platform/SettingsStore.h"
#include "platform/SqliteFaults.h"

#include <atomic>
#include <thread>

using Text = LightweightString<char>;
using Settings = SettingsStore;

TEST_F(Settings, valuesReadBackAsTheyWereStoredAndNothingIsMadeBefore)
{
    const Text texts[] = {"", "Key", "key", "a\xFF\xC3", Text("z\0z", 3), "Configuration\\MappingManager2", "'; --"};
    {
        const Mw::Ptr<iSettings> store = open();
        EXPECT_EQ(get(store, "a"), "(none)");
        EXPECT_EQ(store->removeValue("a", ""), iSettings::eStored);
        EXPECT_FALSE(std::filesystem::exists(file().parent_path()));

        std::vector<iSettings::Change> changes{{"gone", "", "1"}, {"gone", "", std::nullopt}};
        for (const Text& section : texts)
            for (const Text& key : texts)
                changes.push_back({key, section, section + "/" + key});
        EXPECT_EQ(store->apply(changes), iSettings::eStored);
    }
    const Mw::Ptr<iSettings> store = open();
    std::vector<Text> sections;
    store->getSections(sections);
    EXPECT_EQ(sections.size(), std::size(texts));
    EXPECT_TRUE(std::is_sorted(sections.begin(), sections.end()));
    for (const Text& section : texts)
    {
        std::vector<iSettings::NameValuePair> values;
        store->getMultipleValues(values, section);
        EXPECT_EQ(values.size(), std::size(texts));
        for (const iSettings::NameValuePair& pair : values)
            EXPECT_EQ(std::string_view(pair.value), std::string_view(section + "/" + pair.name));
        EXPECT_EQ(std::string_view(store->getValue("Key", "", section)), std::string_view(section + "/Key"));
    }
}

TEST_F(Settings, theFileHasTheDocumentedForm)
{
    put("QA Splat", "1");
    EXPECT_EQ(bytes(file()).substr(60, 4) + bytes(file()).substr(68, 4), std::string("\0\0\0\1MwSt", 8));
    EXPECT_EQ(Holder(file(), "INSERT INTO settings (section, name, value) VALUES ('Section', 'Name', 'value');"
                             "UPDATE settings SET value = '2' WHERE section = '' AND name = 'QA Splat'")
                  .code,
              SQLITE_OK);
    EXPECT_EQ(stored("QA Splat") + get(open(), "Name", "Section"), "2value");
}

TEST_F(Settings, othersChangesAreSeenAfterFiftyMillisecondsAndNoCallIsMadeBefore)
{
    SqliteFaults layer;
    TestClock clock;
    const OSReplacement<iDebugger> replaced(clock);
    const Mw::Ptr<iSettings> reader = open();
    const Mw::Ptr<iSettings> writer = open();
    // What a read gives after so long, and how many calls it makes below.
    const auto readAfter = [&](double ms, const char* expected)
    {
        clock.advance(ms);
        layer.at(0, SqliteFaults::eFailOnce, true);
        EXPECT_EQ(get(reader, "a"), expected);
        return layer.calls();
    };
    readAfter(0, "(none)");
    writer->setValue("a", "1", "");
    EXPECT_EQ(readAfter(50, "(none)"), 0);
    EXPECT_GT(readAfter(1, "1"), 0);
    EXPECT_LT(readAfter(51, "1"), 5) << "the counter is asked, and the values are not read again";
    // A store that was deleted is gone, and made again by the next write.
    std::filesystem::remove(file());
    readAfter(51, "(none)");
    EXPECT_EQ(writer->setValue("b", "3", ""), iSettings::eStored);
    EXPECT_EQ(stored("a") + stored("b"), "(none)3");
}

TEST_F(Settings, anEqualValueWritesNothingUnlessAnotherHasWrittenOver)
{
    SqliteFaults layer;
    const Mw::Ptr<iSettings> one = open();
    one->setValue("a", "1", "");
    layer.at(0);
    EXPECT_EQ(one->apply({{"a", "", "1"}, {"b", "", std::nullopt}}), iSettings::eStored);
    EXPECT_EQ(layer.calls(), 0);
    put("a", "2");
    EXPECT_EQ(one->setValue("a", "1", ""), iSettings::eStored);
    EXPECT_EQ(stored("a"), "1");
}

TEST_F(Settings, aWriterGivesUpAfterThirtySeconds)
{
    put("a", "1");
    HastyClock clock;
    const OSReplacement<iDebugger> replaced(clock);
    const Mw::Ptr<iSettings> store = open();
    EXPECT_EQ(get(store, "a"), "1");
    {
        const Holder other(file(), "BEGIN IMMEDIATE");
        EXPECT_EQ(store->setValue("a", "2", ""), iSettings::eBusy);
    }
    EXPECT_EQ(store->setValue("a", "2", ""), iSettings::eStored);
}

TEST_F(Settings, aStoreThatCannotBeOpenedStaysAndTheRunKeepsItsSettingsInMemory)
{
    const auto expectMemory = [&](const Mw::Ptr<iSettings>& store)
    {
        theMessages.clear();
        EXPECT_EQ(get(store, "a"), "(none)");
        EXPECT_EQ(store->setValue("a", "2", ""), iSettings::eKeptInMemory);
        EXPECT_EQ(get(store, "a"), "2");
        EXPECT_TRUE(theMessages.size() == 1 && !store->lastError().empty());
    };
    std::filesystem::create_directories(file());
    expectMemory(open());
    std::filesystem::remove(file());

    // The databases of others, and of later versions.
    for (const char* const foreign :
         {"CREATE TABLE settings (a)", "PRAGMA application_id = 0x4D775374; PRAGMA user_version = 2"})
    {
        ASSERT_EQ(Holder(file(), foreign).code, SQLITE_OK);
        const std::string before = bytes(file());
        expectMemory(open());
        EXPECT_EQ(bytes(file()), before) << foreign;
        std::filesystem::remove(file());
    }

    put("a", "1");
    HastyClock clock;
    const OSReplacement<iDebugger> replaced(clock);
    const Holder other(file(), "BEGIN EXCLUSIVE");
    expectMemory(open());
}

TEST_F(Settings, aStoreThatMayOnlyBeReadIsRead)
{
    using std::filesystem::perms;
    put("a", "1");
    const std::filesystem::path folder = file().parent_path();
    std::filesystem::permissions(folder.parent_path(), perms(0755));
    std::filesystem::permissions(file(), perms(0444));
    std::filesystem::permissions(folder, perms(0555));
    const uid_t user = ::geteuid();
    ASSERT_TRUE(user != 0 || ::seteuid(65534) == 0); // the superuser may write to anything
    {
        const Mw::Ptr<iSettings> store = open();
        EXPECT_EQ(get(store, "a"), "1");
        EXPECT_TRUE(theMessages.empty());
        EXPECT_EQ(store->setValue("a", "2", ""), iSettings::eKeptInMemory);
        EXPECT_EQ(get(store, "a"), "2");
        EXPECT_EQ(theMessages.size(), 1u);
    }
    ASSERT_TRUE(user != 0 || ::seteuid(0) == 0);
    std::filesystem::permissions(folder, perms(0755));
    EXPECT_EQ(stored("a"), "1");
}

TEST_F(Settings, aForkedProcessUsesNone)
{
    const Mw::Ptr<iSettings> inherited = open();
    inherited->setValue("a", "1", "");
    const pid_t child = ::fork();
    if (child == 0)
    {
        const Mw::Ptr<iSettings> own = open();
        EXPECT_EQ(get(inherited, "a") + get(own, "a"), "(none)(none)");
        EXPECT_EQ(inherited->setValue("a", "2", ""), iSettings::eForked);
        EXPECT_EQ(own->setValue("a", "3", ""), iSettings::eKeptInMemory);
        EXPECT_EQ(get(own, "a") + own->lastError().c_str(), "3" + std::string(inherited->lastError()));
        ::_exit(HasFailure() ? 1 : 0);
    }
    EXPECT_EQ(statusOf(child), 0);
    EXPECT_EQ(inherited->setValue("b", "4", ""), iSettings::eStored);
    EXPECT_EQ(stored("a") + stored("b"), "14");
}

TEST_F(Settings, threadsReadWholeValuesWhileOthersWrite)
{
    const Mw::Ptr<iSettings> store = open(), other = open();
    store->apply({{"a", "", "0"}, {"b", "", "0"}});
    std::atomic<int> writers{3};
    const auto read = [&]
    {
        while (writers != 0)
        {
            std::vector<iSettings::NameValuePair> both;
            store->getMultipleValues(both, "");
            ASSERT_TRUE(both.size() == 2 && both[0].value == both[1].value);
        }
    };
    const auto write = [&](const Mw::Ptr<iSettings>& to)
    {
        for (int n = 0; n < 20; ++n)
        {
            const Text text(std::to_string(n));
            EXPECT_EQ(to->apply({{"a", "", text}, {"b", "", text}}), iSettings::eStored);
        }
        --writers;
    };
    const std::jthread threads[] = {std::jthread(read), std::jthread(read), std::jthread(write, store),
                                    std::jthread(write, store), std::jthread(write, other)};
}
