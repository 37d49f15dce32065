#pragma once

#include "OS/Export.h"

// What a fatal error tells before it stops the program: functions that are given its message.
//
// The call takes no lock and no memory, since the program is in an unknown state by then. Any thread.

using SplatCallback = void (*)(const char* message);

// False if the function is null or 32 are registered already.
LIBMW_API bool addSplatCallback(SplatCallback callback) noexcept;
LIBMW_API void removeSplatCallback(SplatCallback callback) noexcept;

// Calls all, in order of registration unless one was removed between. An exception of one is dropped, and
// the next is called.
LIBMW_API void callSplatCallbacks(const char* message) noexcept;
