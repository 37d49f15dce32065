#include "misc/settings/config.h"

#include "OS/FileMgr.h"
#include "misc/identity/Cookie.h"
#include "misc/threads/ServiceLock.h"
#include "platform/Environment.h"
#include "settings/Support.h"

#include <cstring>
#include <thread>
#include <vector>

namespace
{

using Config = Settings;

// For a process of its own, which asks for the machine's settings for the first time: what it logs goes to
// standard error.
void readBesideALegacyFile()
{
    TestDesktop desktop;
    const OSReplacement<iDesktop> replaced(desktop);
    SetLogOutput(stderr);
    const int first = config_int("a", 1);
    const bool stored = GlobalConfig().setValue("a", 7, "") == 0;
    const int second = config_int("a", 1);
    service_init();
    GlobalConfig().setValue("disable_pin", 4, "");
    service_init();
    std::exit(stored && first == 5 && second == 5 ? service_disable_pin() : 99);
}

} // namespace

TEST_F(Config, valuesComeFromTheStoreAndOverridesAreLogged)
{
    EXPECT_EQ(config_int("n", 3), 3);
    GlobalConfig().setValue("n", 4, "");
    GlobalConfig().setValue("d", 0.25, "");
    GlobalConfig().setValue("b", true, "");
    GlobalConfig().setValue("c", video_black, "");
    GlobalConfig().setValue("l", "5000000000", "");
    EXPECT_EQ(config_int("n", 4), 4);
    EXPECT_EQ(config_double("d", 0.25), 0.25);
    EXPECT_EQ(config_long("n", 3), 4);
    EXPECT_EQ(config_long("l", 3), 5000000000);
    EXPECT_EQ(config_long("none", -5000000000), -5000000000);
    EXPECT_TRUE(config_Bool("b", false));
    EXPECT_EQ(config_cookie("c", invalid_cookie), video_black);
    EXPECT_STREQ(config_string("n", "3"), "4");
    config_flush();
    EXPECT_EQ(logged(), "");
    EXPECT_EQ(config_int("n", 3), 4);
    EXPECT_EQ(config_double("d", 1.5), 0.25);
    EXPECT_EQ(logged(), "0.000    : Default overridden: n = 4 (dflt 3)\n"
                        "0.000    : Default overridden: d = 0.250000 (dflt 1.500000)\n");
}

TEST_F(Config, stringIsCopiedWithATerminatorBehindItsBuffer)
{
    GlobalConfig().setValue("s", "abcdef", "");
    char buf[9];
    for (const auto& [size, expected] : {std::pair(3u, "abc"), {6u, "abcdef"}, {8u, "abcdef"}})
    {
        std::memset(buf, 'x', sizeof buf);
        config_string("s", buf, size, nullptr);
        EXPECT_STREQ(buf, expected);
        EXPECT_EQ(buf[size], 0);
    }
    EXPECT_EQ(logged().substr(0, 50), "0.000    : Default overridden: s = abcdef (dflt )\n");
    GlobalConfig().setValue("s", std::string(300, 'v').c_str(), "");
    config_string("s", buf, 1, "w");
    EXPECT_EQ(logged(), "0.000    : Default overridden: s = " + std::string(300, 'v') + " (dflt w)\n");
}

TEST_F(Config, rememberedStringIsNeverAskedForAgain)
{
    const char* const dflt = "default";
    EXPECT_EQ(config_string("Remembered", dflt), dflt);
    GlobalConfig().setValue("Remembered", "first", "");
    const char* const first = config_string("Remembered", dflt);
    EXPECT_STREQ(first, "first");
    GlobalConfig().setValue("Remembered", "second", "");
    EXPECT_EQ(config_string("rEMEMBERED", "other"), first);
}

TEST_F(Config, stringsAreRememberedOnceByManyThreads)
{
    constexpr int nameCount = 200;
    const auto nameOf = [](int i) { return "thread" + std::to_string(i); };
    for (int i = 0; i < nameCount; ++i)
        GlobalConfig().setValue(nameOf(i), ("value" + std::to_string(i)).c_str(), "");
    std::vector<std::vector<const char*>> found(3);
    std::vector<std::thread> threads;
    for (auto& texts : found)
        threads.emplace_back(
            [&]
            {
                for (int round = 0; round < 5; ++round)
                    for (int i = 0; i < nameCount; ++i)
                        texts.push_back(config_string(nameOf(i).c_str(), "none"));
            });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(found[0], found[1]);
    EXPECT_EQ(found[0], found[2]);
    for (std::size_t i = 0; i < found[0].size(); ++i)
        ASSERT_EQ(found[0][i], "value" + std::to_string(i % nameCount));
}

TEST_F(Config, initReadsOneTableWhole)
{
    EXPECT_NE(config_init((folder_.path() / "none").c_str()), 0);
    EXPECT_NE(config_init(file("{\na 1\n").c_str()), 0) << "a file without an end is discarded";
    EXPECT_EQ(config_init(file("{\na 1\n}").c_str()), 0);
    EXPECT_EQ(config_init("/none"), 0) << "a table stands";
}

TEST(ConfigDeath, legacyFileBeatsTheStoreForTheWholeProcess)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const TempFolder folder;
    const std::string application = toUTF8(OS().fileMgr().getApplicationName()).c_str();
    std::filesystem::create_directory(folder.path() / application);
    std::ofstream(folder.path() / application / "config.dat") << "{\na:int 5\ndisable_pin 3\n}\n";
    const Environment environment({{"MW_CONFIG_DIR", folder.path().string()}});
    const std::string line = "[0-9.]+ *: Default overridden: a = 5 \\(dflt 1\\)\n";
    EXPECT_EXIT(readBesideALegacyFile(), testing::ExitedWithCode(3), "^" + line + line);
}
