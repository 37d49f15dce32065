#pragma once

#include "OS/testing/TestClock.h"

// Time passes whenever it is looked at, so that no wait that is bounded takes long.
class HastyClock : public TestClock
{
public:
    double getPreciseTimeMs() override
    {
        advance(1'000);
        return getTimeMs();
    }
};
