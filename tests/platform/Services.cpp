#include "Mw/Exception.h"
#include "OS/SystemInfo.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace trace
{

// Not static and not inlined, so that the traces name it on every compiler.
__attribute__((noinline)) Mw::StackTrace taken(int)
{
    return Mw::Exception::RuntimeError("broken", "tests/Services", 1).stack_;
}

} // namespace trace

TEST(StackTrace, namesFunctionFileAndLineFromTheInnermostOut)
{
    const Mw::StackTrace stack = trace::taken(1);
    ASSERT_GT(stack.size(), 3u);
    EXPECT_TRUE(stack[0].startsWith("Mw::Exception::RuntimeError::RuntimeError(char const*, char const*, int) at "));
    EXPECT_NE(stack[0].find("Mw/Exception.cpp:"), LightweightString<char>::npos) << stack[0];
    EXPECT_TRUE(stack[1].startsWith("trace::taken(int) at ")) << stack[1];
    EXPECT_NE(stack[1].find("tests/platform/Services.cpp:"), LightweightString<char>::npos) << stack[1];
    EXPECT_TRUE(std::ranges::any_of(stack, [](const auto& line) { return line.startsWith("main at "); }));
}

TEST(SystemInfo, tellsOfTheMachine)
{
    iSystemInfo& info = OS().systemInfo();
    iSystemInfo::MemoryInfo memory;
    ASSERT_TRUE(info.getMemoryInfo(memory));
    EXPECT_TRUE(memory.availableBytes > 0 && memory.totalBytes >= memory.availableBytes && memory.processBytes > 0);
    const Mw::Ptr<iDLL> mathematics = info.loadDLL(L"libm.so.6");
    EXPECT_TRUE(mathematics->symbol("cos") != nullptr && mathematics->symbol("no such function") == nullptr);
    for (const wchar_t* const path : {L"", L"/no/such/library.so"})
        EXPECT_TRUE(!info.loadDLL(path)->isLoaded() && !info.loadDLL(path)->lastError().empty());
}
