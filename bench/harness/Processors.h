#pragma once

#include <sched.h>

// Where a thread runs. The system leaves a thread that sleeps and wakes on the processor that it has, as a rule, so
// of two threads that wake each other it's chance whether they share one; and a wake-up on a processor that sleeps
// takes ten times as long.

namespace bench
{

// Keeps the calling thread on one of the processors that it may run on.
class Pinned
{
public:
    explicit Pinned(int which);
    ~Pinned() { sched_setaffinity(0, sizeof before_, &before_); }
    Pinned(const Pinned&) = delete;
    Pinned& operator=(const Pinned&) = delete;

private:
    cpu_set_t before_;
};

// Moves the calling thread, one of a side's own, to one of the processors that the program may run on. Costs a
// comparison where it is there already.
void stayOn(int which);

} // namespace bench
