#pragma once

#include "OS/ReaderLock.h"

// A reader-writer lock for what is read often, shortly, and written rarely: any number of threads read at once,
// and a writer is alone. A writer that waits keeps new readers out, so it does not starve; a thread that is in,
// as a reader or as a writer, must not enter again. For std::shared_lock and std::unique_lock.
//
// Can be a static object: it is ready before the first constructor runs. It can't be moved or copied. Any
// thread.
class RWLock
{
public:
    // Callers say how many writers and readers they expect, and how many of these wait at once. The lock has
    // no such limits, so the numbers decide nothing.
    constexpr RWLock(int /*writers*/, int /*readers*/, int /*waiting*/) noexcept {}
    RWLock(const RWLock&) = delete;
    RWLock& operator=(const RWLock&) = delete;

    void lock_shared() { lock_.lock_shared(); }
    void unlock_shared() { lock_.unlock_shared(); }
    void lock() { lock_.lock(); }
    void unlock() { lock_.unlock(); }

private:
    ReaderLock lock_;
};
