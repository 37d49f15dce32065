#include "examples/editsession/Console.h"

#include <atomic>
#include <csignal>
#include <unistd.h>

namespace
{

// Any thread may be the one that the signal interrupts.
std::atomic<bool> wasInterrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free);
struct sigaction actionBefore = {};

void noteInterrupt(int)
{
    wasInterrupted = true;
}

} // namespace

bool isTerminal(std::FILE* stream)
{
    return ::isatty(::fileno(stream)) != 0;
}

InterruptWatch::InterruptWatch()
{
    wasInterrupted = false;
    struct sigaction action = {};
    action.sa_handler = noteInterrupt;
    action.sa_flags = static_cast<int>(SA_RESTART | SA_RESETHAND);
    ::sigaction(SIGINT, nullptr, &actionBefore);
    if (actionBefore.sa_handler != SIG_IGN)
        ::sigaction(SIGINT, &action, nullptr);
}

InterruptWatch::~InterruptWatch()
{
    ::sigaction(SIGINT, &actionBefore, nullptr);
}

bool InterruptWatch::interrupted() const
{
    return wasInterrupted;
}
