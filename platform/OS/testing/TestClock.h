#pragma once

#include "OS/Debugger.h"
#include "OS/OS.h"

#include <atomic>

// A debugger whose clocks a test moves; the rest goes to the service that was in place. Any thread.
//
//     TestClock clock;
//     OSReplacement<iDebugger> replaced(clock);
//     clock.advance(40);
class OS_API TestClock : public iDebugger
{
public:
    explicit TestClock(double timeMs = 0, double wallTimeAtZeroUs = 1e15)
        : target_(OS().debugger()), timeMs_(timeMs), wallTimeAtZeroUs_(wallTimeAtZeroUs)
    {
    }
    ~TestClock() override;

    void set(double timeMs) { timeMs_ = timeMs; }
    void advance(double ms) { timeMs_ = timeMs_ + ms; }

    double getTimeMs() override { return timeMs_; }
    double getClock() override { return wallTimeAtZeroUs_ + timeMs_ * 1e3; }
    double getPreciseTimeMs() override { return timeMs_; }
    void debugOutput(const char* text) override { target_.debugOutput(text); }
    LightweightString<wchar_t> widen(const char* text, unsigned lengthBytes) override
    {
        return target_.widen(text, lengthBytes);
    }
    void getStackTrace(Mw::StackTrace& lines) override { target_.getStackTrace(lines); }

private:
    iDebugger& target_;
    std::atomic<double> timeMs_;
    const double wallTimeAtZeroUs_;
};
