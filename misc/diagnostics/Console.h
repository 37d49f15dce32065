#pragma once

#include "Mw/Ptr.h"
#include "OS/Export.h"
#include "OS/Windowing.h"
#include "libmw/CriticalSection.h"

// The debug console: a grid of characters in a status window, with a message area that scrolls and, above
// it, rows that applications assign. Row 1 is the status line.
//
// While the console is off, every output function below returns at once and records nothing. A row or
// column outside the grid writes and marks nothing. Texts are UTF-8. Any thread: all take the one
// recursive lock that `getLock` gives.

// Writes at column x of row y, up to the end of the row: what doesn't fit is left out, not wrapped.
MISC_API void herc_putc(int x, int y, char c);
MISC_API void herc_putstr(int x, int y, const char* text);
[[gnu::format(printf, 3, 4)]] MISC_API void herc_printf(int x, int y, const char* format, ...);

// Writes to the message area like herc_message_write, and to the platform's debug channel if
// herc_set_debug_output says so.
[[gnu::format(printf, 1, 2)]] MISC_API void herc_printf(const char* format, ...);

// The same two for column x of the status line.
MISC_API void herc_status_write(int x, char c);
[[gnu::format(printf, 2, 3)]] MISC_API void herc_status_write(int x, const char* format, ...);

// Writes at the cursor of the message area, which wraps at the end of a row and scrolls at the end of
// the grid. Tab stops are every 3 columns; a tab at a stop writes nothing. A carriage return goes back
// to column 0.
MISC_API void herc_message_write(char c);
MISC_API void herc_message_write(const char* text);

// Blanks the columns from x0 up to but not including x1 in the rows from y0 up to but not including y1.
MISC_API void herc_clear_rect(int x0, int y0, int x1, int y1);

// Clears nothing: its rectangle has no rows. The rows of a scrolled screen are blanked by herc_scroll.
MISC_API void herc_deleol();

// Moves the rows from `top` to `bottom` up by one; the one that leaves at the top comes back blank at the
// bottom. Both rows must be in the grid, else nothing happens.
MISC_API void herc_scroll(int top, int bottom);

// The lock of the console, ready before the first static constructor.
MISC_API CriticalSection& getLock();

// What the console is made of, for the module that makes its window.

struct ConsoleGeometry
{
    int width = 80;
    int height = 25;
    int messageLine = 7; // first row of the scrolling area
};

// Makes contents of blank rows, which the output goes to from now on, and puts the cursor at the
// beginning of the message area. Sizes below 1 count as 1.
MISC_API Mw::Ptr<iStatusWindow::iContents> herc_create_contents(const ConsoleGeometry& geometry = {});

// The window that shows the contents, null if there is none. It is told after each output.
MISC_API Mw::Ptr<iStatusWindow> herc_window();
MISC_API void herc_set_window(const Mw::Ptr<iStatusWindow>& window);

// Whether output is recorded; off at first.
MISC_API bool herc_is_on() noexcept;
MISC_API void herc_set_on(bool on) noexcept;

// Whether herc_printf also writes to OS().debugger(); off at first.
MISC_API bool herc_debug_output() noexcept;
MISC_API void herc_set_debug_output(bool on) noexcept;
