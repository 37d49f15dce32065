#pragma once

#include "Mw/Ptr.h"
#include "OS/Export.h"
#include "OS/Windowing.h"
#include "misc/notify/PrefServer.h"

// The window of the debug console. It stands above the console, which works without it: what settings and
// preferences say of the window (its size, whether it shows) is read here. One thread at a time, apart
// from herc_init, which any thread may call.

// The preferences "Show debug window" and "Output debug strings", both off unless set. A window that is there and
// the console follow what is written to them.
MISC_API PrefServer& showDebugWindowPref();
MISC_API PrefServer& outputDebugStringsPref();

// Makes contents and window, in place of those before, of "herc_width" columns and "herc_height" rows (1 to
// 4096), on top of other windows if "console_on_top" isn't 0. It shows, and the console is on, if the
// preference "Show debug window" says so. `handler`, which may be null, hears what the user does in
// it.
MISC_API void createDebugWindow(Mw::Ptr<iStatusWindow::iEventHandler> handler);

// The same, unless there is a window already. Threads that come together make one window.
MISC_API void herc_init(Mw::Ptr<iStatusWindow::iEventHandler> handler);

// Lets go of the window.
MISC_API void herc_shutdown();

// False without a window.
MISC_API bool debugWindowIsVisible();

// Shows or hides the window if it isn't so already.
MISC_API void showDebugWindow(bool on);

// Hides a visible window and shows a hidden one; the console is on while its window shows. Without a
// window, an assertion and nothing else.
MISC_API void toggleHercWindow();

// Turns the copy of the console's text on the platform's debug channel on or off, says so there, and stores
// it as the preference "Output debug strings", whose clients are told. The preference counts from the first
// window on.
MISC_API void toggleWin32Debug();
