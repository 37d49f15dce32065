#include "bench/harness/Processors.h"

namespace bench
{

namespace
{

cpu_set_t allowedToThisThread()
{
    cpu_set_t allowed;
    CPU_ZERO(&allowed);
    if (sched_getaffinity(0, sizeof allowed, &allowed) != 0)
        CPU_SET(0, &allowed); // more processors than the set holds
    return allowed;
}

void pinTo(int which, const cpu_set_t& allowed)
{
    which %= CPU_COUNT(&allowed);
    int processor = 0;
    while (!CPU_ISSET(processor, &allowed) || which-- > 0)
        ++processor;
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(processor, &one);
    sched_setaffinity(0, sizeof one, &one);
}

// Taken before any thread is pinned, whose threads would inherit that.
const cpu_set_t allowedToAll = allowedToThisThread();

} // namespace

Pinned::Pinned(int which) : before_(allowedToThisThread())
{
    pinTo(which, allowedToAll);
}

void stayOn(int which)
{
    static thread_local int current = -1;
    if (current == which)
        return;
    pinTo(which, allowedToAll);
    current = which;
}

} // namespace bench
