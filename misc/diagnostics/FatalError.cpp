#include "misc/diagnostics/FatalError.h"

#include "Mw/Assert.h"
#include "Mw/Exception.h"
#include "OS/Debugger.h"
#include "OS/OS.h"
#include "OS/ThreadMgr.h"
#include "libmw/Shutdown.h"
#include "libmw/Splat.h"
#include "misc/diagnostics/Console.h"
#include "misc/diagnostics/Log.h"
#include "misc/threads/ServiceLock.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

namespace
{

constexpr int shutdownAttempts = 9;
constexpr int longestFrame = 250; // a longer line than 255 characters would be lost

std::atomic<int> crashFlag{0};
std::atomic<std::clock_t> startClock{0};
std::atomic<int> exceptInitDone{0};
int splatCount = 0;
std::atomic<std::uint32_t> preferredSplatThread{0};
std::atomic<int> shutdownCount{0};
std::atomic<int> threadExceptionCount{0};

const char* pluralOf(int count)
{
    return count == 1 ? "" : "s";
}

// True if the callbacks ran to their end.
bool runShutdownCallbacks()
{
    try
    {
        Shutdown::executeCallbacks(Shutdown::eExceptionExit);
        return true;
    }
    catch (...)
    {
        // A callback that asks to end its thread, too: letting that through would leave the process alive
        // with its crash flag set.
        return false;
    }
}

} // namespace

int except_init()
{
    if (exceptInitDone.exchange(1, std::memory_order_relaxed) != 0)
        return 0;
    service_disable();
    startClock.store(std::clock(), std::memory_order_relaxed);
    LogPlatformMessages();
    service_enable();
    return 0;
}

int get_crash_flag() noexcept
{
    return crashFlag.load(std::memory_order_relaxed);
}

void set_crash_flag(int flag) noexcept
{
    crashFlag.store(flag, std::memory_order_relaxed);
}

// The sanitizer for undefined behaviour would report the store at the end, which is meant.
__attribute__((no_sanitize("undefined"))) void oma_splat(const char* message)
{
    if (exceptionInProgress() != 0)
        return;
    if (OS().atomics().increment(&splatCount) != 1)
        std::exit(1);

    char time[exitTimeStrSize];
    getExitTimeStr(time);
    std::fprintf(Mw::diagnosticStream(), "\n*********************************\nOMA_SPLAT: %s\n%s\n", message, time);
    herc_printf("OMA: %s\n", message);
    callSplatCallbacks(message);

    // Only these two: flushing every stream would wait for a thread that reads from one.
    std::fflush(Mw::diagnosticStream());
    std::fflush(stdout);

    // The pointer is volatile so that the optimiser can't know its value, and the target so that it can't
    // drop the store: g++ finds out that the pointer leads nowhere.
    volatile int* volatile nowhere = nullptr;
    *nowhere = 1234;
}

void logStacktrace(const char* title)
{
    Mw::StackTrace frames;
    OS().debugger().getStackTrace(frames);
    if (frames.empty())
        return;
    Log("---- %s -------\n", title);
    for (const LightweightString<char>& frame : frames)
    {
        char line[longestFrame + 1];
        std::snprintf(line, sizeof line, "%s", frame.c_str());
        Log("%s\n", line);
    }
    Log("-----------------------\n");
}

int postExceptionShutdown()
{
    if (shutdownCount.load(std::memory_order_relaxed) != 0)
        return shutdownCount.fetch_add(1, std::memory_order_relaxed) + 1;
    herc_printf("about to set crash flag and exit\n");
    set_crash_flag(1);
    shutdownCount.fetch_add(1, std::memory_order_relaxed);
    for (int attempt = 0; attempt < shutdownAttempts; ++attempt)
        if (runShutdownCallbacks())
            break;
    std::exit(1);
}

int exceptionInProgress() noexcept
{
    return threadExceptionCount.load(std::memory_order_relaxed);
}

int raiseThreadExceptionCount() noexcept
{
    return threadExceptionCount.fetch_add(1, std::memory_order_relaxed);
}

void setPreferredThreadContextForSplat()
{
    preferredSplatThread.store(OS().threadMgr().currentThreadId(), std::memory_order_relaxed);
}

void pollForSplatInMainThreadContext() {}

void getExitTimeStr(char* out)
{
    const std::time_t now = std::time(nullptr);
    // The forms with a buffer of the caller's: two threads may be here.
    std::tm parts{};
    char date[exitTimeStrSize] = "";
    if (::localtime_r(&now, &parts) != nullptr)
        ::asctime_r(&parts, date);
    if (char* const newLine = std::strrchr(date, '\n'))
        *newLine = ' ';
    const std::clock_t processorTime = std::clock() - startClock.load(std::memory_order_relaxed);
    char session[exitTimeStrSize];
    getSessionTimeStr(static_cast<int>(processorTime / 1000000), session);
    std::sprintf(out, "Time: %s (Session : %s)\n", date, session);
}

void getSessionTimeStr(int seconds, char* out)
{
    const int minutes = seconds / 60;
    if (seconds < 60)
        std::sprintf(out, "%d seconds", seconds);
    else if (seconds < 3600)
        std::sprintf(out, "%d minute%s", minutes, pluralOf(minutes));
    else
    {
        const int hours = seconds / 3600;
        const int minutesLeft = minutes % 60;
        // As with one minute, no "s" follows none.
        std::sprintf(out, "%d hour%s, %d minute%s", hours, pluralOf(hours), minutesLeft, minutesLeft > 1 ? "s" : "");
    }
}
