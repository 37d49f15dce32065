#pragma once

#include "OS/Export.h"

#include <atomic>

// A full memory barrier for two threads that each store to one place and then load from the other's: one of them at
// least sees what the other stored. The thread that does so often passes the light half between the two steps, which
// costs a test; the one that seldom does passes the heavy half, which takes a call of the system and has all threads
// of the process that run at this moment pass a barrier. Any thread.
//
// Where the system has no such call, both halves are barriers of their own thread.
class AsymmetricBarrier
{
public:
    static void light() noexcept
    {
        std::atomic_signal_fence(std::memory_order_seq_cst);
        if (!isAsymmetric_.load(std::memory_order_relaxed)) [[unlikely]]
            full();
    }

    // Takes from 0.3 to 7 microseconds.
    OS_API static void heavy() noexcept;

private:
    OS_API static void full() noexcept;

    OS_API static std::atomic<bool> isAsymmetric_;
    static const bool isStarted_;
};
