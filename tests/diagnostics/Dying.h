#pragma once

#include "misc/diagnostics/Log.h"
#include "platform/Sanitized.h"

#include <csignal>
#include <cstdio>
#include <sys/resource.h>
#include <sys/wait.h>

// For the process of a death test: it leaves no core, and what it doesn't flush is lost in a crash.
inline void prepareToDie()
{
    const rlimit noCore{0, 0};
    setrlimit(RLIMIT_CORE, &noCore);
    std::setvbuf(stderr, nullptr, _IOFBF, 1 << 15);
    SetLogOutput(stderr);
}

// By a signal; a sanitizer reports it and fails.
inline bool crashed(int status)
{
    return WIFSIGNALED(status) ? WTERMSIG(status) == SIGSEGV : MW_SANITIZED != 0 && WEXITSTATUS(status) != 0;
}
