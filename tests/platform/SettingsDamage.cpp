#include "OS/FileMgr.h"
#include "OS/testing/FailingFileMgr.h"
#include "platform/SettingsStore.h"
#include "platform/SqliteFaults.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

namespace
{

// A store of many pages whose key "a" is "2" and was "1" when the copy was made.
class SettingsDamage : public SettingsStore
{
protected:
    SettingsDamage()
    {
        std::vector<iSettings::Change> changes = {{"a", "", "1"}};
        for (int n = 0; n < 200; ++n)
            changes.push_back({std::to_string(n).c_str(), "many", LightweightString<char>(100, 'x')});
        open()->apply(changes);
        put("a", "2");
        whole_ = bytes(file());
        copy_ = bytes(beside(".last-good"));
    }

    // The store and its copy as they were, and nothing else.
    void renew() const
    {
        std::filesystem::remove_all(file().parent_path());
        std::filesystem::create_directories(file().parent_path());
        setBytes(file(), whole_);
        setBytes(beside(".last-good"), copy_);
    }

    // Whether one of the files beside the store, or it, holds this.
    bool isKept(const std::string& contents) const
    {
        const std::filesystem::directory_iterator files(file().parent_path());
        return std::any_of(files, {}, [&](const auto& entry) { return bytes(entry.path()) == contents; });
    }

    SqliteFaults layer_;
    std::string whole_;
    std::string copy_;
};

} // namespace

TEST_F(SettingsDamage, isSetAsideForTheLastGoodCopyOrElseTheDefaults)
{
    const std::function<void(std::string&)> damages[] = {
        [](std::string& s) { s = "a:int 5\n"; },
        [](std::string& s) { s.resize(150); },
        [](std::string& s) { std::fill_n(s.begin() + 100, 300, '\xFF'); },
        [](std::string& s) { std::fill_n(s.end() - 4096, 4096, '\xA5'); },
    };
    for (const auto& damage : damages)
        for (const bool hasCopy : {true, false})
        {
            SCOPED_TRACE(std::to_string(&damage - damages) + (hasCopy ? " with a copy" : " without"));
            renew();
            std::string damaged = whole_;
            damage(damaged);
            setBytes(file(), damaged);
            setBytes(beside("-journal"), "left over");
            if (!hasCopy)
                std::filesystem::remove(beside(".last-good"));
            theMessages.clear();
            const Mw::Ptr<iSettings> store = open();
            EXPECT_EQ(get(store, "a"), hasCopy ? "1" : "(none)");
            EXPECT_EQ(get(store, "199", "many").size(), hasCopy ? 100 : 6);
            EXPECT_EQ(theMessages.size(), 1u) << theMessages.back();
            EXPECT_TRUE(bytes(beside(".damaged-1")) == damaged);
            EXPECT_EQ(store->setValue("a", "3", ""), iSettings::eStored);
            EXPECT_EQ(stored("a"), "3");
        }
}

TEST_F(SettingsDamage, ofTheCopyTooIsSetAside)
{
    for (const std::string copy : {"nor this one", ""}) // an empty database, too, is none of settings
    {
        renew();
        setBytes(file(), "no database");
        setBytes(beside(".last-good"), copy);
        put("a", "3");
        EXPECT_EQ(stored("a"), "3");
        EXPECT_TRUE(std::filesystem::exists(beside(".last-good.damaged-1")));
        EXPECT_EQ(bytes(beside(".damaged-1")) + bytes(beside(".last-good.damaged-1")), "no database" + copy);
    }
}

TEST_F(SettingsDamage, isLeftWhileTheCopyOrTheLockCannotBeHad)
{
    HastyClock clock;
    const OSReplacement<iDebugger> replaced(clock);
    for (const bool lockIsDamaged : {false, true})
    {
        renew();
        setBytes(file(), "no database");
        if (lockIsDamaged)
            setBytes(beside(".lock"), "no lock");
        const Holder other(beside(".last-good"), lockIsDamaged ? "" : "BEGIN EXCLUSIVE");
        theMessages.clear();
        EXPECT_EQ(open()->setValue("a", "3", ""), iSettings::eKeptInMemory);
        EXPECT_EQ(theMessages.size(), 1u);
        EXPECT_EQ(theMessages.back().find(".lock\" is no lock file") != std::string::npos, lockIsDamaged);
        EXPECT_TRUE(bytes(file()) == "no database" && bytes(beside(".last-good")) == copy_);
    }
    std::filesystem::remove(file());
    EXPECT_EQ(open()->setValue("a", "1", ""), iSettings::eKeptInMemory);
    EXPECT_FALSE(std::filesystem::exists(file()));
}

TEST_F(SettingsDamage, isMetByAStoreThatIsInUse)
{
    TestClock clock;
    const OSReplacement<iDebugger> replaced(clock);
    const Mw::Ptr<iSettings> reader = open();
    const Mw::Ptr<iSettings> writer = open();
    EXPECT_EQ(get(reader, "a") + get(writer, "a"), "22");
    setBytes(file(), std::string(whole_.size(), 'x'));
    clock.advance(51);
    EXPECT_EQ(get(reader, "a"), "1");
    // The other one still has the file that was set aside open.
    EXPECT_EQ(writer->setValue("b", "3", ""), iSettings::eStored);
    EXPECT_EQ(get(writer, "a") + stored("b"), "13");
}

TEST_F(SettingsDamage, isRepairedOnceWhoeverMeetsIt)
{
    setBytes(file(), "no database");
    std::vector<pid_t> children;
    for (int n = 0; n < 4; ++n)
        children.push_back(begin([this] { EXPECT_EQ(stored("a"), "1"); }));
    for (const pid_t child : children)
    {
        int status = 0;
        ::waitpid(child, &status, 0);
        EXPECT_EQ(status, 0);
    }
    EXPECT_FALSE(std::filesystem::exists(beside(".damaged-2")));
}

TEST_F(SettingsDamage, isNeverOverwrittenWhateverFailsMeanwhile)
{
    const std::string damaged(whole_.size(), 'x');
    for (const auto afterwards : {FailingFileMgr::eOnce, FailingFileMgr::eFromThenOn})
        for (int call = 1;; ++call)
        {
            renew();
            setBytes(file(), damaged);
            setBytes(beside("-journal"), "left over");
            theMessages.clear();
            FailingFileMgr files;
            {
                const OSReplacement<iFileMgr> replaced(files);
                files.failAt(call, afterwards);
                const Mw::Ptr<iSettings> store = open();
                const int result = store->setValue("b", "1", "");
                EXPECT_TRUE(result == iSettings::eStored || result == iSettings::eKeptInMemory) << result;
                EXPECT_EQ(get(store, "b"), "1");
                EXPECT_GE(theMessages.size(), 1u);
            }
            EXPECT_TRUE(isKept(damaged)) << call;
            EXPECT_EQ(stored("a"), "1") << call;
            if (files.calls() < call)
                break;
        }
}
