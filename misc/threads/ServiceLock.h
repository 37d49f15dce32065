#pragma once

#include "OS/Export.h"

#include <cstdint>

// The one lock whose holder may not be stopped, and the clock beside it. It is recursive. Any thread.

// An application calls it once at its start; further calls do nothing. It reads the setting "disable_pin".
// The lock is ready without it.
MISC_API void service_init();

// What "disable_pin" said then, -1 by default and before. Nothing in this library acts on it.
MISC_API int service_disable_pin() noexcept;

// Enters and leaves the lock.
MISC_API void service_disable();
MISC_API void service_enable();

// The thread id of the holder, as OS().threadMgr().currentThreadId() gives it; 0 if nobody holds the lock.
MISC_API std::uint32_t who_owns_service_lock();

// How many threads wait for the lock at this moment, and how often it was entered since the start.
struct ServiceLockCounts
{
    int waiting = 0;
    int entered = 0;
};
MISC_API ServiceLockCounts service_lock_counts() noexcept;

// Milliseconds of the precise clock, whole and with their fraction.
MISC_API std::int64_t service_get_msecs();
MISC_API double service_get_msecs_precise();
