#pragma once

#include <ctime>

// Half a millisecond: the step of those who wait for another process and have nothing to be woken by.
inline void pauseBriefly()
{
    const timespec step = {0, 500'000};
    ::nanosleep(&step, nullptr);
}
