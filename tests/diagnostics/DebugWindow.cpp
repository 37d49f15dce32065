#include "misc/diagnostics/DebugWindow.h"

#include "OS/Windowing.h"
#include "diagnostics/Support.h"
#include "libmw/Splat.h"
#include "misc/diagnostics/Console.h"
#include "misc/diagnostics/QaSplat.h"
#include "misc/settings/RegistryConfig.h"

namespace
{

// A window that shows nothing and notes what it was asked for.
class NotedWindow : public iStatusWindow
{
public:
    explicit NotedWindow(const Mw::Ptr<iContents>& contents) : contents(contents) {}

    const Mw::Ptr<iContents> contents;
    bool visible = false;
    bool onTop = false;

    bool isVisible() override { return visible; }
    void setVisible(bool on) override { visible = on; }
    void setOnTop(bool on) override { onTop = on; }
    void update() override {}
    LightweightString<char> asText() override { return {}; }
};

class NotingWindowing : public iWindowing
{
public:
    Mw::Ptr<NotedWindow> last;

    Mw::Ptr<iStatusWindow> createStatusWindow(const Mw::Ptr<iStatusWindow::iContents>& contents,
                                              const Mw::Ptr<iStatusWindow::iEventHandler>&) override
    {
        return last = Mw::makePtr<NotedWindow>(contents);
    }
    bool isKeyDown(int) override { return false; }
    void setKeyDown(int, bool) override {}
};

class DebugWindow : public Diagnostics
{
protected:
    ~DebugWindow() override
    {
        herc_shutdown();
        herc_set_on(false);
        herc_set_debug_output(false);
    }

    NotedWindow& created()
    {
        createDebugWindow({});
        return *windowing_.last;
    }

    NotingWindowing windowing_;

private:
    OSReplacement<iWindowing> windowingReplacement_{windowing_};
};

} // namespace

TEST_F(DebugWindow, isWhatSettingsAndPreferencesSay)
{
    EXPECT_EQ(created().contents->width() * 1000 + created().contents->height(), 80025);
    EXPECT_FALSE(created().visible || created().onTop || herc_is_on() || herc_debug_output());

    GlobalConfig().setValue("herc_width", 100, "");
    GlobalConfig().setValue("herc_height", 2000000000, "");
    GlobalConfig().setValue("console_on_top", 1, "");
    UserConfig().setValue("Show debug window", true, "Preferences");
    UserConfig().setValue("Output debug strings", true, "Preferences");
    const NotedWindow& window = created();
    EXPECT_EQ(window.contents->width() * 10000 + window.contents->height(), 1004096);
    EXPECT_TRUE(window.visible && window.onTop && herc_is_on() && herc_debug_output());
    EXPECT_NE(logged().find(": Default overridden: herc_width = 100 (dflt 80)\n"), std::string::npos);
}

TEST_F(DebugWindow, choiceOfDebugOutputIsKept)
{
    created();
    for (const bool on : {true, false})
    {
        toggleWin32Debug();
        EXPECT_EQ(UserConfig().getValue("Output debug strings", !on, "Preferences"), on);
        created();
        EXPECT_EQ(herc_debug_output(), on);
    }
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
