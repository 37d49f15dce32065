#pragma once

#include "OS/Export.h"

#include <cstddef>

// The last line of the library. An assertion (Mw/Assert.h) reports and carries on; a splat stops the
// program, leaving the stack of its caller to the platform's crash handling; a thread's exception raises
// a counter here and ends in postExceptionShutdown. Any thread.

// Starts the session's clock and sends the platform layer's messages to the log. Once: further calls do
// nothing. Gives 0.
MISC_API int except_init();

// 0 in a healthy run. Applications read it at their exit to tell a crash from a normal stop.
MISC_API int get_crash_flag() noexcept;
MISC_API void set_crash_flag(int flag) noexcept;

// Prints and announces the message, calls the splat callbacks and crashes the process. Returns only
// during a thread's exception, which is taking the program down already. Of several callers the first
// goes on; the others exit with status 1.
MISC_API void oma_splat(const char* message);

// Writes the calling thread's stack to the log under a title, nothing if there is none. Frames are cut
// to 250 characters.
MISC_API void logStacktrace(const char* title);

// Sets the crash flag, runs the shutdown callbacks, up to 9 times for as long as one throws, and exits
// with status 1. Called again meanwhile, it does nothing but give the number of calls so far.
MISC_API int postExceptionShutdown();

// How many exceptions have left a thread: not 0 from the first on. Raising it gives the number before.
MISC_API int exceptionInProgress() noexcept;
MISC_API int raiseThreadExceptionCount() noexcept;

// Records the calling thread, and does nothing: a splat happens on the thread that calls for it. Kept for
// applications that call them.
MISC_API void setPreferredThreadContextForSplat();
MISC_API void pollForSplatInMainThreadContext();

// Room for the texts below.
constexpr std::size_t exitTimeStrSize = 256;

// Writes "Time: DATE (Session : LENGTH)" and a new line. The length is processor time since except_init.
MISC_API void getExitTimeStr(char* out);

// Writes the length of a session: "59 seconds", "1 minute", "1 hour, 2 minutes".
MISC_API void getSessionTimeStr(int seconds, char* out);
