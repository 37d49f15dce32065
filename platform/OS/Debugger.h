#pragma once

#include "Mw/Exception.h"
#include "Mw/LightweightString.h"

#include <cmath>
#include <cstdint>

// Clocks, the debug channel and stack traces: OS().debugger(). Any thread.
class OS_API iDebugger
{
public:
    virtual ~iDebugger() = default;

    // Milliseconds since the process started, monotonic: the stamp of log lines.
    virtual double getTimeMs() = 0;

    // Microseconds of wall time, for seeds and rough timings.
    virtual double getClock() = 0;

    // The same clock in whole seconds since the start of 1970, for hot paths.
    virtual std::int64_t getClockSeconds() { return static_cast<std::int64_t>(std::floor(getClock() / 1e6)); }

    // Milliseconds since the process started, monotonic, at the finest resolution of the system.
    virtual double getPreciseTimeMs() = 0;

    // The time of getPreciseTimeMs at the system's last tick, at most 10 ms ago: for reads so frequent
    // that the clock would be most of their cost.
    virtual double getCoarseTimeMs() { return getPreciseTimeMs(); }

    // Writes to the platform's debug channel: standard error.
    virtual void debugOutput(const char* text) = 0;

    // UTF-8 to wide text; a length of 0xFFFFFFFF means to the terminator. Bad bytes become U+FFFD.
    virtual LightweightString<wchar_t> widen(const char* text, unsigned lengthBytes = 0xFFFFFFFFu) = 0;

    // Appends one line per frame of the calling thread, innermost first: function, file and line, or the
    // raw address where there are no symbols.
    virtual void getStackTrace(Mw::StackTrace& lines) = 0;
};
