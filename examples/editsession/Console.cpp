#include "examples/editsession/Console.h"

#include <csignal>
#include <unistd.h>

namespace
{

volatile std::sig_atomic_t wasInterrupted = 0;
struct sigaction actionBefore = {};

void noteInterrupt(int)
{
    wasInterrupted = 1;
}

} // namespace

bool isTerminal(std::FILE* stream)
{
    return ::isatty(::fileno(stream)) != 0;
}

InterruptWatch::InterruptWatch()
{
    wasInterrupted = 0;
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
    return wasInterrupted != 0;
}
