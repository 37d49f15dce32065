#include "OS/Debugger.h"
#include "OS/Immortal.h"
#include "OS/OS.h"
#include "OS/Utf8.h"
#include "OS/linux/StackTrace.h"

#include <cstdio>
#include <cstring>
#include <ctime>

namespace
{

double clockMs(clockid_t clock)
{
    timespec now;
    ::clock_gettime(clock, &now);
    return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) * 1e-6;
}

class NativeDebugger : public iDebugger
{
public:
    double getTimeMs() override { return clockMs(CLOCK_MONOTONIC) - startMs_; }
    double getClock() override { return clockMs(CLOCK_REALTIME) * 1e3; }
    std::int64_t getClockSeconds() override { return ::time(nullptr); }
    double getPreciseTimeMs() override { return getTimeMs(); }
    double getCoarseTimeMs() override { return clockMs(CLOCK_MONOTONIC_COARSE) - startMs_; }

    void debugOutput(const char* text) override
    {
        if (text != nullptr)
            std::fputs(text, stderr);
    }

    LightweightString<wchar_t> widen(const char* text, unsigned lengthBytes) override
    {
        if (text == nullptr)
            return {};
        return Mw::wideFromUtf8(text, lengthBytes == 0xFFFFFFFFu ? std::strlen(text) : lengthBytes);
    }

    void getStackTrace(Mw::StackTrace& lines) override { appendStackTrace(lines, __builtin_return_address(0)); }

private:
    const double startMs_ = clockMs(CLOCK_MONOTONIC);
};

// Made when the library is loaded, so that time counts from there.
[[maybe_unused]] iDebugger& theDebugger = OS().debugger();

} // namespace

iDebugger& OperatingSystem::standardDebugger()
{
    return immortal<NativeDebugger>();
}
