#include "OS/FileMgr.h"
#include "OS/testing/FailingFileMgr.h"
#include "platform/SettingsStore.h"
#include "platform/SqliteFaults.h"

#include <algorithm>

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

    // Such a store and its copy, and nothing else.
    void renew(const std::string& store) const
    {
        std::filesystem::remove_all(file().parent_path());
        setBytes(file(), store);
        setBytes(beside(".last-good"), copy_);
        theMessages.clear();
    }

    SqliteFaults layer_;
    std::string whole_;
    std::string copy_;
};

} // namespace

TEST_F(SettingsDamage, isSetAsideForTheLastGoodCopyOrElseTheDefaults)
{
    std::string cut(whole_, 0, 150), badRoot(whole_), badPage(whole_);
    std::fill_n(badRoot.begin() + 100, 300, '\xFF');
    std::fill_n(badPage.end() - 4096, 4096, '\xA5');
    for (const std::string& damaged : {std::string("a:int 5\n"), cut, badRoot, badPage})
        for (const std::string copy : {"good", "nor this one", "none", ""}) // an empty database, too, is no copy
        {
            SCOPED_TRACE(testing::Message() << damaged.size() << " bytes, copy " << copy);
            const bool hasCopy = copy == "good";
            renew(damaged);
            setBytes(beside("-journal"), "left over");
            if (copy == "none")
                std::filesystem::remove(beside(".last-good"));
            else if (!hasCopy)
                setBytes(beside(".last-good"), copy);
            const Mw::Ptr<iSettings> store = open();
            EXPECT_EQ(get(store, "a"), hasCopy ? "1" : "(none)");
            EXPECT_EQ(get(store, "199", "many").size(), hasCopy ? 100 : 6);
            EXPECT_EQ(theMessages.size(), 1u);
            EXPECT_TRUE(bytes(beside(".damaged-1")) == damaged);
            EXPECT_TRUE(hasCopy || copy == "none" || bytes(beside(".last-good.damaged-1")) == copy);
            EXPECT_EQ(store->setValue("a", "3", ""), iSettings::eStored);
            EXPECT_EQ(stored("a"), "3");
        }
}

TEST_F(SettingsDamage, isLeftWhileTheCopyOrTheLockCannotBeHad)
{
    HastyClock clock;
    const OSReplacement<iDebugger> replaced(clock);
    for (const bool lockIsDamaged : {false, true})
    {
        renew("no database");
        if (lockIsDamaged)
            setBytes(beside(".lock"), "no lock");
        const Holder other(beside(".last-good"), lockIsDamaged ? "" : "BEGIN EXCLUSIVE");
        EXPECT_EQ(open()->setValue("a", "3", ""), iSettings::eKeptInMemory);
        EXPECT_TRUE(bytes(file()) == "no database" && bytes(beside(".last-good")) == copy_);
    }
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
    for (int n = 0; n < 4; ++n)
        begin([this] { EXPECT_EQ(stored("a"), "1"); });
    for (int status = 0; ::wait(&status) > 0;)
        EXPECT_EQ(status, 0);
    EXPECT_FALSE(std::filesystem::exists(beside(".damaged-2")));
}

TEST_F(SettingsDamage, isNeverOverwrittenWhateverFailsMeanwhile)
{
    const std::string damaged(whole_.size(), 'x');
    for (const auto afterwards : {FailingFileMgr::eOnce, FailingFileMgr::eFromThenOn})
        for (int call = 1, calls = 0; calls >= call - 1; ++call)
        {
            SCOPED_TRACE(call);
            renew(damaged);
            setBytes(beside("-journal"), "left over");
            FailingFileMgr files;
            {
                const OSReplacement<iFileMgr> replaced(files);
                files.failAt(call, afterwards);
                const Mw::Ptr<iSettings> store = open();
                const int result = store->setValue("b", "1", "");
                EXPECT_TRUE(result == iSettings::eStored || result == iSettings::eKeptInMemory) << result;
                EXPECT_EQ(get(store, "b"), "1");
                EXPECT_GE(theMessages.size(), 1u);
                calls = files.calls();
            }
            const std::filesystem::directory_iterator kept(file().parent_path());
            EXPECT_TRUE(std::any_of(kept, {}, [&](const auto& entry) { return bytes(entry.path()) == damaged; }));
            EXPECT_EQ(stored("a"), "1");
        }
}
