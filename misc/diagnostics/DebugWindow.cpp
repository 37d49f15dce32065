#include "misc/diagnostics/DebugWindow.h"

#include "Mw/Assert.h"
#include "OS/Debugger.h"
#include "OS/OS.h"
#include "misc/diagnostics/Console.h"
#include "misc/settings/PrefVal.h"
#include "misc/settings/config.h"

#include <algorithm>

namespace
{

constexpr PrefVal showDebugWindowPref("Show debug window", false);
constexpr PrefVal outputDebugStringsPref("Output debug strings", false);

constexpr int largestGrid = 4096;

// The console stands below preferences and starts without its own; it is told when that first matters.
bool isDebugOutputLoaded = false;

void loadDebugOutput()
{
    herc_set_debug_output(outputDebugStringsPref.get());
    isDebugOutputLoaded = true;
}

ConsoleGeometry configuredGeometry()
{
    ConsoleGeometry geometry;
    geometry.width = std::min(config_int("herc_width", geometry.width), largestGrid);
    geometry.height = std::min(config_int("herc_height", geometry.height), largestGrid);
    return geometry;
}

} // namespace

void createDebugWindow(Mw::Ptr<iStatusWindow::iEventHandler> handler)
{
    loadDebugOutput();
    const bool visible = showDebugWindowPref.get();
    const Mw::Ptr<iStatusWindow> window =
        OS().windowing().createStatusWindow(herc_create_contents(configuredGeometry()), handler);
    window->setOnTop(config_int("console_on_top", 0) != 0);
    window->setVisible(visible);
    herc_set_window(window);
    herc_set_on(visible);
}

void herc_init(Mw::Ptr<iStatusWindow::iEventHandler> handler)
{
    if (!herc_window())
        createDebugWindow(handler);
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
    outputDebugStringsPref.set(on);
}
