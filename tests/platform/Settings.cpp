#include "OS/Settings.h"

#include "platform/SettingsStore.h"
#include "platform/SqliteFaults.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

using Text = LightweightString<char>;
using Settings = SettingsStore;

TEST_F(Settings, valuesReadBackAsTheyWereStoredAndNothingIsMadeBefore)
{
    const Text texts[] = {"", "Key", "key", "a\xFF\xC3", Text("z\0z", 3), "Configuration\\MappingManager2", "'; --"};
    std::vector<iSettings::NameValuePair> values;
    std::vector<Text> sections;
    {
        const Mw::Ptr<iSettings> store = open();
        store->getMultipleValues(values, "");
        store->getSections(sections);
        EXPECT_EQ(get(store, "a"), "(none)");
        EXPECT_EQ(store->removeValue("a", ""), iSettings::eStored);
        EXPECT_TRUE(values.empty() && sections.empty());
        EXPECT_FALSE(std::filesystem::exists(file().parent_path()));

        std::vector<iSettings::Change> changes;
        for (const Text& section : texts)
            for (const Text& key : texts)
                changes.push_back({key, section, section + "/" + key});
        changes.push_back({"gone", "", "1"});
        changes.push_back({"gone", "", std::nullopt});
        EXPECT_EQ(store->apply(changes), iSettings::eStored);
    }
    const Mw::Ptr<iSettings> store = open();
    store->getSections(sections);
    EXPECT_EQ(sections.size(), std::size(texts));
    EXPECT_TRUE(std::is_sorted(sections.begin(), sections.end()));
    for (const Text& section : texts)
    {
        values.clear();
        store->getMultipleValues(values, section);
        EXPECT_EQ(values.size(), std::size(texts));
        for (const iSettings::NameValuePair& pair : values)
            EXPECT_EQ(std::string_view(pair.value), std::string_view(section + "/" + pair.name));
        EXPECT_EQ(std::string_view(store->getValue("Key", "", section)), std::string_view(section + "/Key"));
    }
    EXPECT_EQ(get(store, "KEY") + get(store, "gone"), "(none)(none)");
    EXPECT_TRUE(theMessages.empty());
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
    EXPECT_EQ(get(reader, "a"), "(none)");
    writer->setValue("a", "1", "");
    clock.advance(50);
    layer.at(0, SqliteFaults::eFailOnce, true);
    EXPECT_EQ(get(reader, "a"), "(none)");
    EXPECT_EQ(layer.calls(), 0);
    clock.advance(1);
    EXPECT_EQ(get(reader, "a"), "1");
    EXPECT_GT(layer.calls(), 0);
    // Nothing moved: the counter is asked, and the values are not read again.
    clock.advance(51);
    layer.at(0, SqliteFaults::eFailOnce, true);
    EXPECT_EQ(get(reader, "a"), "1");
    EXPECT_LT(layer.calls(), 5);
    // While another commits, it is asked as often as ever.
    {
        const Holder other(file(), "BEGIN EXCLUSIVE");
        clock.advance(51);
        EXPECT_EQ(get(reader, "a"), "1");
        layer.at(0, SqliteFaults::eFailOnce, true);
        EXPECT_EQ(get(reader, "a"), "1");
        EXPECT_EQ(layer.calls(), 0);
    }
    // A clock that was set back is no reason to be blind.
    writer->removeValue("a", "");
    clock.set(0);
    EXPECT_EQ(get(reader, "a"), "(none)");
    // A store that was deleted is gone, and made again by the next write.
    writer->setValue("a", "2", "");
    std::filesystem::remove(file());
    clock.advance(51);
    EXPECT_EQ(get(reader, "a"), "(none)");
    EXPECT_EQ(writer->setValue("b", "3", ""), iSettings::eStored);
    EXPECT_EQ(stored("a") + stored("b"), "(none)3");
}

TEST_F(Settings, anEqualValueWritesNothing)
{
    SqliteFaults layer;
    const Mw::Ptr<iSettings> one = open();
    one->setValue("a", "1", "");
    layer.at(0);
    EXPECT_EQ(one->apply({{"a", "", "1"}, {"b", "", std::nullopt}}), iSettings::eStored);
    EXPECT_EQ(layer.writes(), 0);
    // Equal to what another has written over is not equal.
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
        EXPECT_FALSE(store->lastError().empty());
        EXPECT_EQ(get(store, "a"), "1");
    }
    EXPECT_EQ(store->setValue("a", "2", ""), iSettings::eStored);
    EXPECT_TRUE(theMessages.empty());
}

TEST_F(Settings, aStoreThatCannotBeOpenedStaysAndTheRunKeepsItsSettingsInMemory)
{
    const auto expectMemory = [&](const Mw::Ptr<iSettings>& store)
    {
        theMessages.clear();
        EXPECT_EQ(get(store, "a"), "(none)");
        EXPECT_EQ(store->setValue("a", "1", ""), iSettings::eKeptInMemory);
        EXPECT_EQ(store->setValue("a", "2", ""), iSettings::eKeptInMemory);
        EXPECT_EQ(get(store, "a"), "2");
        EXPECT_EQ(theMessages.size(), 1u);
        EXPECT_FALSE(store->lastError().empty());
    };
    std::filesystem::create_directories(file());
    expectMemory(open());
    EXPECT_TRUE(std::filesystem::is_directory(file()));
    std::filesystem::remove(file());

    // The databases of others, and of later versions.
    for (const char* const foreign : {"CREATE TABLE settings (a)", "PRAGMA user_version = 7",
                                      "PRAGMA application_id = 0x4D775374; PRAGMA user_version = 2"})
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
    {
        const Holder other(file(), "BEGIN EXCLUSIVE");
        expectMemory(open());
    }
    EXPECT_EQ(stored("a"), "1");
    expectMemory(Mw::openSettingsFile({}));
    expectMemory(Mw::openSettingsFile(L"/proc/self/none/settings"));
}

TEST_F(Settings, aStoreThatMayOnlyBeReadIsRead)
{
    put("a", "1");
    const auto setModes = [&](unsigned file, unsigned directory)
    {
        std::filesystem::permissions(this->file(), std::filesystem::perms(file));
        std::filesystem::permissions(this->file().parent_path(), std::filesystem::perms(directory));
    };
    std::filesystem::permissions(file().parent_path().parent_path(), std::filesystem::perms(0755));
    for (const unsigned fileMode : {0444u, 0666u})
    {
        theMessages.clear();
        std::filesystem::remove(beside("-journal"));
        setModes(fileMode, 0555);
        const uid_t user = ::geteuid();
        // The superuser may write to anything.
        ASSERT_TRUE(user != 0 || ::seteuid(65534) == 0);
        {
            const Mw::Ptr<iSettings> store = open();
            EXPECT_EQ(get(store, "a"), "1");
            EXPECT_TRUE(theMessages.empty());
            EXPECT_EQ(store->setValue("a", "2", ""), iSettings::eKeptInMemory);
            EXPECT_EQ(get(store, "a"), "2");
            EXPECT_EQ(theMessages.size(), 1u);
        }
        ASSERT_TRUE(user != 0 || ::seteuid(0) == 0);
        setModes(0644, 0755);
        EXPECT_EQ(stored("a"), "1");
    }
}

TEST_F(Settings, aForkedProcessSaysThatItUsesNone)
{
    const Mw::Ptr<iSettings> inherited = open();
    inherited->setValue("a", "1", "");
    const pid_t child = ::fork();
    if (child == 0)
    {
        testing::internal::CaptureStderr();
        EXPECT_EQ(get(inherited, "a"), "(none)");
        EXPECT_EQ(inherited->setValue("a", "2", ""), iSettings::eForked);
        const Mw::Ptr<iSettings> own = open();
        EXPECT_EQ(get(own, "a"), "(none)");
        EXPECT_EQ(own->setValue("a", "3", ""), iSettings::eKeptInMemory);
        EXPECT_EQ(get(own, "a") + own->lastError().c_str(), "3" + std::string(inherited->lastError()));
        const std::string said = testing::internal::GetCapturedStderr();
        EXPECT_NE(said.find(file().string()), said.npos);
        EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 2);
        ::_exit(HasFailure() ? 1 : 0);
    }
    int status = -1;
    ::waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(stored("a"), "1");
    EXPECT_EQ(inherited->setValue("a", "4", ""), iSettings::eStored);
}

TEST_F(Settings, threadsReadWholeValuesWhileOthersWrite)
{
    const Mw::Ptr<iSettings> store = open();
    const Mw::Ptr<iSettings> other = open();
    store->apply({{"a", "", "0"}, {"b", "", "0"}});
    std::atomic<bool> done{false};
    const auto read = [&]
    {
        while (!done)
        {
            std::vector<iSettings::NameValuePair> both;
            store->getMultipleValues(both, "");
            ASSERT_EQ(both.size(), 2u);
            ASSERT_EQ(both[0].value, both[1].value);
            ASSERT_NE(get(store, "a"), "(none)");
        }
    };
    const auto write = [&](const Mw::Ptr<iSettings>& to, int first)
    {
        for (int n = first; n < first + 20; ++n)
        {
            const Text text(std::to_string(n));
            EXPECT_EQ(to->apply({{"a", "", text}, {"b", "", text}}), iSettings::eStored);
        }
    };
    std::thread readers[] = {std::thread(read), std::thread(read)};
    std::thread writers[] = {std::thread(write, store, 100), std::thread(write, store, 200),
                             std::thread(write, other, 300)};
    for (std::thread& thread : writers)
        thread.join();
    done = true;
    for (std::thread& thread : readers)
        thread.join();
}
