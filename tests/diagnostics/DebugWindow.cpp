#include "misc/diagnostics/DebugWindow.h"

#include "diagnostics/Support.h"
#include "libmw/Splat.h"
#include "misc/diagnostics/Console.h"
#include "misc/diagnostics/QaSplat.h"
#include "misc/notify/ValClient.h"
#include "misc/settings/RegistryConfig.h"

#include <algorithm>

namespace
{

class DebugWindow : public Diagnostics
{
protected:
    ~DebugWindow() override
    {
        herc_shutdown();
        herc_set_on(false);
        herc_set_debug_output(false);
    }

    // Makes the window, with a long line in its last row; gives columns and rows.
    static std::pair<std::size_t, std::ptrdiff_t> createdSize()
    {
        createDebugWindow({});
        herc_set_on(true);
        const std::string before = herc_window()->asText().c_str();
        const std::ptrdiff_t rows = std::count(before.begin(), before.end(), '\n');
        herc_putstr(0, static_cast<int>(rows) - 1, std::string(10000, 'x').c_str());
        const std::string after = herc_window()->asText().c_str();
        return {after.size() - before.size(), rows};
    }
};

} // namespace

TEST_F(DebugWindow, isWhatSettingsAndPreferencesSay)
{
    EXPECT_EQ(createdSize(), std::pair(std::size_t(80), std::ptrdiff_t(25)));
    createDebugWindow({});
    EXPECT_FALSE(debugWindowIsVisible() || herc_is_on() || herc_debug_output());

    GlobalConfig().setValue("herc_width", 100, "");
    GlobalConfig().setValue("herc_height", 2000000000, "");
    UserConfig().setValue("Show debug window", true, "Preferences");
    UserConfig().setValue("Output debug strings", true, "Preferences");
    EXPECT_EQ(createdSize(), std::pair(std::size_t(100), std::ptrdiff_t(4096)));
    EXPECT_TRUE(debugWindowIsVisible() && herc_debug_output());
    EXPECT_NE(logged().find(": Default overridden: herc_width = 100 (dflt 80)\n"), std::string::npos);
}

TEST_F(DebugWindow, followsItsPreferencesAndTellsTheirClients)
{
    struct Counter : ValClient<bool>
    {
        using ValClient<bool>::ValClient;
        void valChangedNtfy() override { ++changes; }
        int changes = 0;
    } counter(&outputDebugStringsPref());

    showDebugWindowPref() = true;
    EXPECT_FALSE(debugWindowIsVisible());
    createDebugWindow({});
    EXPECT_TRUE(debugWindowIsVisible() && herc_is_on());
    showDebugWindowPref() = false;
    EXPECT_FALSE(debugWindowIsVisible() || herc_is_on());
    EXPECT_FALSE(UserConfig().getValue("Show debug window", true, "Preferences"));

    counter.changes = 0;
    outputDebugStringsPref() = true;
    EXPECT_TRUE(herc_debug_output());
    toggleWin32Debug();
    EXPECT_FALSE(UserConfig().getValue("Output debug strings", true, "Preferences"));
    EXPECT_FALSE(herc_debug_output() || counter.getServerValue());
    EXPECT_EQ(counter.changes, 2);

    // What can't be stored doesn't hold, which they hear too.
    desktop_.settings(L"userconfig.dat", iDesktop::eUserSettings)->failWith(iSettings::eFailed);
    toggleWin32Debug();
    EXPECT_FALSE(herc_debug_output() || counter.getServerValue());
    EXPECT_EQ(counter.changes, 3);
}

TEST(QaSplatDeath, stopsWhereTheSettingSaysSo)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            TestDesktop desktop;
            const OSReplacement<iDesktop> replaced(desktop);
            qa_splat("no stop", 8);
            GlobalConfig().setValue("QA Splat", true, "");
            SetLogOutput(stderr);
            addSplatCallback([](const char*) { std::_Exit(7); });
            qa_splat("stop", 8);
        },
        testing::ExitedWithCode(7), "OMA_SPLAT: stop\n");
}
