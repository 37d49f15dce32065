#include "misc/settings/config.h"

#include "OS/FileMgr.h"
#include "platform/Environment.h"
#include "settings/Support.h"

#include <algorithm>
#include <thread>
#include <vector>

namespace
{

using Config = Settings;

// What the program does before main and after it when a test starts it with this in the environment: it asks for the
// settings for the first time.
constexpr char isChild[] = "MW_TEST_SETTINGS";

struct Child
{
    const bool isOne = std::getenv(isChild) != nullptr;

    Child()
    {
        if (isOne)
            UserConfig().setValue("seen", UserConfig().getValue("early", 0, "s") + 1, "s");
    }
    ~Child()
    {
        if (isOne)
            UserConfig().setValue("late", UserConfig().getValue("seen", 0, "s") + 1, "s");
    }
} const child;

} // namespace

TEST_F(Config, valuesComeFromTheStoreAndOverridesAreLogged)
{
    EXPECT_EQ(config_int("n", 3), 3);
    GlobalConfig().setValue("n", 4, "");
    GlobalConfig().setValue("d", 0.25, "");
    GlobalConfig().setValue("l", "5000000000", "");
    EXPECT_EQ(config_long("l", 5000000000), 5000000000);
    EXPECT_EQ(config_long("none", -5000000000), -5000000000);
    EXPECT_EQ(said(), "");
    EXPECT_EQ(config_int("n", 3), 4);
    EXPECT_EQ(config_double("d", 1.5), 0.25);
    EXPECT_EQ(said(), "0.000    : Default overridden: n = 4 (dflt 3)\n"
                      "0.000    : Default overridden: d = 0.250000 (dflt 1.500000)\n");
}

TEST_F(Config, stringIsCopiedWithATerminatorBehindItsBuffer)
{
    const std::string value(300, 'v');
    GlobalConfig().setValue("s", value.c_str(), "");
    for (const unsigned size : {3u, 300u, 350u})
    {
        std::string buf(400, 'x');
        config_string("s", buf.data(), size, size == 3 ? nullptr : "w");
        EXPECT_EQ(buf.substr(0, std::min(size, 300u) + 1), value.substr(0, size) + '\0');
        EXPECT_EQ(buf.substr(size + 1), std::string(399 - size, 'x'));
        EXPECT_EQ(said(), "0.000    : Default overridden: s = " + value + (size == 3 ? " (dflt )\n" : " (dflt w)\n"));
    }
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
    std::vector<std::string> names(200);
    for (std::size_t i = 0; i < names.size(); ++i)
        GlobalConfig().setValue(names[i] = "thread" + std::to_string(i), names[i].c_str(), "");
    std::vector<const char*> found[2];
    const auto read = [&](std::vector<const char*>& texts)
    {
        for (std::size_t i = 0; i < 5 * names.size(); ++i)
            texts.push_back(config_string(names[i % names.size()].c_str(), "none"));
    };
    std::thread other(read, std::ref(found[0]));
    read(found[1]);
    other.join();
    EXPECT_EQ(found[0], found[1]);
    for (std::size_t i = 0; i < found[0].size(); ++i)
        ASSERT_EQ(found[0][i], names[i % names.size()]);
}

TEST_F(Config, initReadsOneTableWhole)
{
    EXPECT_NE(config_init(file("{\na 1\n").c_str()), 0) << "a file without an end is discarded";
    EXPECT_EQ(config_init(file("{\na 1\n}").c_str()), 0);
    EXPECT_EQ(config_init("/none"), 0) << "a table stands";
}

TEST(ConfigProcess, settingsWorkBeforeMainAndAfterIt)
{
    const TempFolder folder;
    const std::string directory = folder.path() / toUTF8(OS().fileMgr().getApplicationName()).c_str();
    const auto open = [&] { return Mw::openSettingsFile(TempFolder::wideOf(directory + "/userconfig.dat.sqlite")); };
    ASSERT_EQ(open()->setValue("early", "5", "s"), iSettings::eStored);
    const Environment environment{
        {{"MW_CONFIG_DIR", folder.path()}, {"MW_MACHINE_CONFIG_DIR", folder.path()}, {isChild, "1"}}};
    const std::string program = toUTF8(OS().fileMgr().executablePath()).c_str();
    EXPECT_EQ(std::system(("'" + program + "' --gtest_list_tests >/dev/null").c_str()), 0);
    EXPECT_EQ(open()->getValue("seen", "", "s") + open()->getValue("late", "", "s"), "67");
}
