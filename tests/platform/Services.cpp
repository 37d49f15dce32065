#include "Mw/Exception.h"
#include "OS/Debugger.h"
#include "OS/SystemInfo.h"
#include "OS/Windowing.h"
#include "OS/testing/TestClock.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <string>
#include <sys/mman.h>
#include <thread>
#include <vector>

namespace trace
{

// Not static and not inlined, so that the traces name it on every compiler.
__attribute__((noinline)) void fail(int)
{
    throw Mw::Exception::RuntimeError("broken", "tests/Services", 1);
}

Mw::StackTrace of(int number)
{
    try
    {
        fail(number);
    }
    catch (const Mw::Exception::RuntimeError& error)
    {
        return error.stack_;
    }
    return {};
}

} // namespace trace

TEST(StackTrace, namesFunctionFileAndLineFromTheInnermostOut)
{
    const Mw::StackTrace stack = trace::of(1);
    ASSERT_GT(stack.size(), 3u);
    const std::string first = stack[0].c_str();
    EXPECT_TRUE(first.starts_with("Mw::Exception::RuntimeError::RuntimeError(char const*, char const*, int) at "))
        << first;
    EXPECT_NE(first.find("Mw/Exception.cpp:"), first.npos) << first;
    const std::string second = stack[1].c_str();
    EXPECT_TRUE(second.starts_with("trace::fail(int) at ")) << second;
    EXPECT_NE(second.find("tests/platform/Services.cpp:"), second.npos) << second;
    bool mainSeen = false;
    for (const LightweightString<char>& line : stack)
        mainSeen |= line.startsWith("main at ");
    EXPECT_TRUE(mainSeen);
}

#if defined(__x86_64__)

namespace
{

Mw::StackTrace taken;

void take()
{
    OS().debugger().getStackTrace(taken);
}

} // namespace

// Through code that no module holds: a page that calls the function it is given.
TEST(StackTrace, showsTheAddressWhereNothingIsKnown)
{
    const unsigned char code[] = {0x48, 0x83, 0xEC, 0x08, 0xFF, 0xD7, 0x48, 0x83, 0xC4, 0x08, 0xC3};
    constexpr std::size_t returnOffset = 6;
    void* const page = ::mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(page, MAP_FAILED);
    std::memcpy(page, code, sizeof code);
    ASSERT_EQ(::mprotect(page, 4096, PROT_READ | PROT_EXEC), 0);
    reinterpret_cast<void (*)(void (*)())>(page)(take);

    char address[32];
    std::snprintf(address, sizeof address, "0x%zx", reinterpret_cast<std::size_t>(page) + returnOffset - 1);
    EXPECT_EQ(std::count(taken.begin(), taken.end(), address), 1);
    taken.clear();
    ::munmap(page, 4096);
}

#endif

TEST(StackTrace, canBeTakenByManyThreadsAtOnce)
{
    const std::string expected = trace::of(0)[1].c_str();
    std::atomic<int> wrong = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back(
            [&]
            {
                for (int round = 0; round < 20; ++round)
                    wrong += trace::of(round)[1].c_str() != expected;
            });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
}

TEST(Debugger, clocksRunForwardAndATestCanMoveThem)
{
    iDebugger& debugger = OS().debugger();
    const double before = debugger.getTimeMs();
    EXPECT_GE(debugger.getPreciseTimeMs(), before);
    // Wall time in microseconds: later than 2020, before 2200.
    EXPECT_GT(debugger.getClock(), 1.577e15);
    EXPECT_LT(debugger.getClock(), 7.258e15);

    TestClock clock(5);
    const OSReplacement<iDebugger> replaced(clock);
    const double wall = OS().debugger().getClock();
    clock.advance(2.5);
    EXPECT_DOUBLE_EQ(OS().debugger().getTimeMs(), 7.5);
    EXPECT_DOUBLE_EQ(OS().debugger().getClock() - wall, 2500);
    EXPECT_EQ(OS().debugger().widen("caf\xC3\xA9!", 5), L"caf\u00E9");
    EXPECT_EQ(OS().debugger().widen(nullptr, 0xFFFFFFFFu), L"");
}

TEST(Windowing, modifiersAreTheKeysThatAreDownOfTheFour)
{
    iWindowing& windowing = OS().windowing();
    for (const int key : {0x2000000, 0x100000, 27})
        windowing.setKeyDown(key, true);
    windowing.setKeyDown(0x2000000, false);
    EXPECT_TRUE(windowing.isKeyDown(27));
    EXPECT_EQ(windowing.getKeyboardModifiers(), 0x100000);
}

TEST(SystemInfo, tellsOfTheMachine)
{
    iSystemInfo& info = OS().systemInfo();
    iSystemInfo::MemoryInfo memory;
    ASSERT_TRUE(info.getMemoryInfo(memory));
    EXPECT_TRUE(memory.availableBytes > 0 && memory.totalBytes >= memory.availableBytes && memory.processBytes > 0);
    EXPECT_GE(info.diskDrive(L"/")->totalBytes(), info.diskDrive(L"/")->freeBytes());
    EXPECT_EQ(info.diskDrive(L"/no/such/path")->totalBytes(), 0u);

    const Mw::Ptr<iDLL> mathematics = info.loadDLL(L"libm.so.6");
    EXPECT_TRUE(mathematics->symbol("cos") != nullptr && mathematics->symbol("no such function") == nullptr);
    for (const wchar_t* const path : {L"", L"/no/such/library.so"})
        EXPECT_TRUE(!info.loadDLL(path)->isLoaded() && !info.loadDLL(path)->lastError().empty());
}
