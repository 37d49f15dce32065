#pragma once

#include "OS/Export.h"

#include <cstdint>

// The identity of the calling thread, as iThreadMgr::currentThreadId gives it, without a call. It is the
// system's own number, the one that a debugger shows; never 0, and below 2^30. Numbers of threads that
// have ended come up again. A forked child keeps the number of the thread that forked, and with it the
// locks that this thread held.
class ThreadId
{
public:
    static std::uint32_t current() noexcept
    {
        const std::uint32_t id = current_;
        return id != 0 ? id : assign();
    }

private:
    OS_API static std::uint32_t assign() noexcept;

    // Initial-exec: one read relative to the thread register, from every library.
    OS_API static constinit thread_local std::uint32_t current_ __attribute__((tls_model("initial-exec")));
};
