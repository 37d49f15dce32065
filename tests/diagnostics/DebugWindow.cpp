#include "misc/diagnostics/DebugWindow.h"

#include "diagnostics/Support.h"
#include "misc/diagnostics/Console.h"
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
};

} // namespace

TEST_F(DebugWindow, isWhatSettingsAndPreferencesSay)
{
    GlobalConfig().setValue("herc_width", 100, "");
    GlobalConfig().setValue("herc_height", 2000000000, "");
    UserConfig().setValue("Show debug window", true, "Preferences");
    UserConfig().setValue("Output debug strings", true, "Preferences");
    createDebugWindow({});
    EXPECT_TRUE(debugWindowIsVisible() && herc_is_on() && herc_debug_output());
    herc_putstr(0, 0, std::string(10000, 'x').c_str());
    const std::string text = herc_window()->asText().c_str();
    EXPECT_TRUE(text.find('\n') == 100 && std::count(text.begin(), text.end(), '\n') == 4096);
}

TEST_F(DebugWindow, followsItsPreferencesAndChangesThem)
{
    toggleHercWindow();
    EXPECT_EQ(said(), "assertion failed window_ at misc/herc line 558\n");
    showDebugWindowPref() = true;
    herc_init({});
    const Mw::Ptr<iStatusWindow> window = herc_window();
    EXPECT_TRUE(debugWindowIsVisible() && herc_is_on());
    showDebugWindowPref() = false;
    EXPECT_FALSE(debugWindowIsVisible() || herc_is_on());
    herc_init({});
    EXPECT_EQ(herc_window(), window);

    outputDebugStringsPref() = true;
    EXPECT_TRUE(herc_debug_output());
    toggleWin32Debug();
    EXPECT_FALSE(UserConfig().getValue("Output debug strings", true, "Preferences"));
    EXPECT_FALSE(herc_debug_output() || outputDebugStringsPref().getValue());

    // What can't be stored doesn't hold.
    desktop_.settings(L"userconfig.dat", iDesktop::eUserSettings)->failWith(iSettings::eFailed);
    toggleWin32Debug();
    EXPECT_FALSE(herc_debug_output() || outputDebugStringsPref().getValue());
}
