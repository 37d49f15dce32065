#include "misc/diagnostics/DebugWindow.h"

#include "Mw/Assert.h"
#include "OS/Debugger.h"
#include "OS/OS.h"
#include "misc/diagnostics/Console.h"

namespace
{

// What the user's settings say of the window; their defaults until settings are read here.
struct WindowChoices
{
    ConsoleGeometry geometry;
    bool onTop = false;
    bool visible = false;
};

WindowChoices windowChoices()
{
    return {};
}

} // namespace

void createDebugWindow(Mw::Ptr<iStatusWindow::iEventHandler> handler)
{
    const WindowChoices choices = windowChoices();
    const Mw::Ptr<iStatusWindow> window =
        OS().windowing().createStatusWindow(herc_create_contents(choices.geometry), handler);
    window->setOnTop(choices.onTop);
    window->setVisible(choices.visible);
    herc_set_window(window);
    herc_set_on(choices.visible);
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
    const bool on = !herc_debug_output();
    herc_set_debug_output(on);
    OS().debugger().debugOutput(on ? "------------------ Marrowline Win32 debug output ON ------------------\n  \n"
                                   : "------------------ Marrowline Win32 debug output OFF -----------------\n  \n");
}
