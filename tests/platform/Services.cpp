#include "Mw/Exception.h"
#include "OS/Debugger.h"
#include "OS/SystemInfo.h"

#include <gtest/gtest.h>

#include <algorithm>
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

Mw::StackTrace taken()
{
    try
    {
        fail(1);
    }
    catch (const Mw::Exception::RuntimeError& error)
    {
        return error.stack_;
    }
    return {};
}

} // namespace trace

TEST(StackTrace, namesFunctionFileAndLineFromTheInnermostOutInEveryThread)
{
    const auto expectPlaces = [](const Mw::StackTrace& stack)
    {
        ASSERT_GT(stack.size(), 3u);
        EXPECT_TRUE(
            stack[0].startsWith("Mw::Exception::RuntimeError::RuntimeError(char const*, char const*, int) at "));
        EXPECT_NE(stack[0].find("Mw/Exception.cpp:"), LightweightString<char>::npos) << stack[0];
        EXPECT_TRUE(stack[1].startsWith("trace::fail(int) at ")) << stack[1];
        EXPECT_NE(stack[1].find("tests/platform/Services.cpp:"), LightweightString<char>::npos) << stack[1];
    };
    const Mw::StackTrace stack = trace::taken();
    expectPlaces(stack);
    EXPECT_TRUE(std::ranges::any_of(stack, [](const auto& line) { return line.startsWith("main at "); }));

    std::vector<std::jthread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back(
            [&]
            {
                for (int round = 0; round < 20; ++round)
                    expectPlaces(trace::taken());
            });
}

#if defined(__x86_64__)

// Through code that no module holds: a page that calls the function it is given.
TEST(StackTrace, showsTheAddressWhereNothingIsKnown)
{
    const unsigned char code[] = {0x48, 0x83, 0xEC, 0x08, 0xFF, 0xD7, 0x48, 0x83, 0xC4, 0x08, 0xC3};
    constexpr std::size_t returnOffset = 6;
    void* const page = ::mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(page, MAP_FAILED);
    std::memcpy(page, code, sizeof code);
    ASSERT_EQ(::mprotect(page, 4096, PROT_READ | PROT_EXEC), 0);
    static Mw::StackTrace taken;
    reinterpret_cast<void (*)(void (*)())>(page)([] { OS().debugger().getStackTrace(taken); });

    char address[32];
    std::snprintf(address, sizeof address, "0x%zx", reinterpret_cast<std::size_t>(page) + returnOffset - 1);
    EXPECT_EQ(std::count(taken.begin(), taken.end(), address), 1);
    ::munmap(page, 4096);
}

#endif

TEST(Debugger, clocksRunForwardInTheirUnits)
{
    iDebugger& debugger = OS().debugger();
    const double before = debugger.getTimeMs();
    EXPECT_GE(debugger.getPreciseTimeMs(), before);
    // Wall time in microseconds: later than 2020, before 2200.
    EXPECT_TRUE(debugger.getClock() > 1.577e15 && debugger.getClock() < 7.258e15) << debugger.getClock();
    EXPECT_EQ(debugger.widen("caf\xC3\xA9!", 5), L"caf\u00E9");
    EXPECT_EQ(debugger.widen(nullptr, 0xFFFFFFFFu), L"");
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
