#include "misc/diagnostics/DebugWindow.h"

#include "Mw/Assert.h"
#include "OS/Debugger.h"
#include "OS/Immortal.h"
#include "OS/OS.h"
#include "misc/diagnostics/Console.h"
#include "misc/notify/ValClient.h"
#include "misc/settings/config.h"

#include <algorithm>
#include <atomic>

namespace
{

// Does something with each new value of a preference.
class PrefFollower : public ValClient<bool>
{
public:
    using Follow = void (*)(bool value);
    PrefFollower(PrefServer& preference, Follow follow) : ValClient<bool>(&preference), follow_(follow) {}

    void valChangedNtfy() override { follow_(getServerValue()); }

private:
    const Follow follow_;
};

void followShow(bool on)
{
    if (herc_window())
        showDebugWindow(on);
}

struct Preferences
{
    PrefServer show{PrefVal("Show debug window", false)};
    PrefServer output{PrefVal("Output debug strings", false)};
    PrefFollower showFollower{show, followShow};
    PrefFollower outputFollower{output, herc_set_debug_output};
};

Preferences& preferences()
{
    return immortal<Preferences>();
}

constexpr int largestGrid = 4096;

// The console stands below preferences and starts without its own; it is told when that first matters.
std::atomic<bool> isDebugOutputLoaded{false};

void loadDebugOutput()
{
    preferences().output.refresh();
    herc_set_debug_output(preferences().output.getValue());
    isDebugOutputLoaded = true;
}

// What settings and preferences say of the window. They are read before the console's lock is taken, since
// they have locks of their own.
struct WindowSettings
{
    ConsoleGeometry geometry;
    bool onTop;
    bool visible;
};

WindowSettings configuredWindow()
{
    loadDebugOutput();
    preferences().show.refresh();
    ConsoleGeometry geometry;
    geometry.width = std::min(config_int("herc_width", geometry.width), largestGrid);
    geometry.height = std::min(config_int("herc_height", geometry.height), largestGrid);
    return {geometry, config_int("console_on_top", 0) != 0, preferences().show.getValue()};
}

void makeWindow(const WindowSettings& settings, const Mw::Ptr<iStatusWindow::iEventHandler>& handler)
{
    const Mw::Ptr<iStatusWindow> window =
        OS().windowing().createStatusWindow(herc_create_contents(settings.geometry), handler);
    window->setOnTop(settings.onTop);
    window->setVisible(settings.visible);
    herc_set_window(window);
    herc_set_on(settings.visible);
}

} // namespace

PrefServer& showDebugWindowPref()
{
    return preferences().show;
}

PrefServer& outputDebugStringsPref()
{
    return preferences().output;
}

void createDebugWindow(Mw::Ptr<iStatusWindow::iEventHandler> handler)
{
    makeWindow(configuredWindow(), handler);
}

void herc_init(Mw::Ptr<iStatusWindow::iEventHandler> handler)
{
    if (herc_window())
        return;
    const WindowSettings settings = configuredWindow();
    const CriticalSection::Lock hold(getLock());
    if (!herc_window())
        makeWindow(settings, handler);
}

void herc_shutdown()
{
    herc_set_window({});
}

bool debugWindowIsVisible()
{
    const Mw::Ptr<iStatusWindow> window = herc_window();
    return window && window->isVisible();
}

void showDebugWindow(bool on)
{
    if (debugWindowIsVisible() != on)
        toggleHercWindow();
}

void toggleHercWindow()
{
    const Mw::Ptr<iStatusWindow> window_ = herc_window();
    MW_ASSERT_AT(window_, "misc/herc line 558");
    if (!window_)
        return;
    window_->setVisible(!window_->isVisible());
    herc_set_on(window_->isVisible());
}

void toggleWin32Debug()
{
    if (!isDebugOutputLoaded)
        loadDebugOutput();
    const bool on = !herc_debug_output();
    herc_set_debug_output(on);
    OS().debugger().debugOutput(on ? "------------------ Marrowline Win32 debug output ON ------------------\n  \n"
                                   : "------------------ Marrowline Win32 debug output OFF -----------------\n  \n");
    // What can't be stored doesn't hold: whoever follows hears of the value that stands, the console included.
    if (!preferences().output.updateAndNotify(on))
        preferences().output.notifyValChanged();
}
