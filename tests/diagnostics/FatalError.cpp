#include "misc/diagnostics/FatalError.h"

#include "OS/ThreadMgr.h"
#include "diagnostics/Dying.h"
#include "diagnostics/Support.h"
#include "libmw/Shutdown.h"
#include "libmw/Splat.h"
#include "misc/diagnostics/QaSplat.h"
#include "misc/settings/RegistryConfig.h"

#include <stdexcept>
#include <thread>

namespace
{

void splat()
{
    prepareToDie();
    addSplatCallback([](const char* message) { std::fprintf(stderr, "told of <%s>\n", message); });
    TestDesktop desktop;
    const OSReplacement<iDesktop> replaced(desktop);
    GlobalConfig().setValue("QA Splat", true, "");
    qa_splat("no way on", 8);
}

void failInShutdown(Shutdown::eExitType)
{
    static int calls = 0;
    std::fputc('F', stderr);
    if (++calls % 2 == 0)
        OS().threadMgr().exitCurrentThread();
    throw std::runtime_error("never ready");
}

void shutDown()
{
    prepareToDie();
    Shutdown::addCallback(failInShutdown, 10);
    Shutdown::addCallback(
        [](Shutdown::eExitType type)
        { std::fprintf(stderr, "(type %d, flag %d, again %d)", type, get_crash_flag(), postExceptionShutdown()); },
        20);
    postExceptionShutdown();
}

} // namespace

TEST(FatalErrorDeath, splatCrashesOnceAndReturnsDuringAThreadsException)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(splat(), crashed,
                "^\n\\*{33}\nOMA_SPLAT: no way on\nTime: [A-Z].{18} [0-9]{4}  \\(Session : [0-9]+ seconds\\)\n\n"
                "told of <no way on>\n");
    const auto splatOnTwoThreads = []
    {
        prepareToDie();
        addSplatCallback([](const char*) { std::thread(oma_splat, "#2").join(); });
        oma_splat("first");
    };
    EXPECT_EXIT(splatOnTwoThreads(), testing::ExitedWithCode(1), "^[^#]*OMA_SPLAT: first\n[^#]*$");
    EXPECT_EXIT((prepareToDie(), raiseThreadExceptionCount(), oma_splat("not now"), std::exit(exceptionInProgress())),
                testing::ExitedWithCode(1), "^$");
}

TEST(FatalErrorDeath, shutdownAfterAnExceptionTriesNineTimes)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(shutDown(), testing::ExitedWithCode(1), "^F\\(type 1, flag 1, again 2\\)F{8}$");
}

TEST(FatalError, sessionLengthHasThreeForms)
{
    for (const auto& [seconds, expected] :
         {std::pair(1, "1 seconds"), {60, "1 minute"}, {3660, "1 hour, 1 minute"}, {7200, "2 hours, 0 minute"}})
    {
        char text[exitTimeStrSize];
        getSessionTimeStr(seconds, text);
        EXPECT_STREQ(text, expected);
    }
}

TEST_F(Diagnostics, stackTraceIsLoggedUnderItsTitle)
{
    logStacktrace("no stack, no lines");
    debugger_.frames = {"inner (a.cpp:1)", std::string(300, 'f').c_str()};
    qa_splat("Odd", 8);
    EXPECT_EQ(said(), "0.000    : ---- Odd -------\n0.000    : inner (a.cpp:1)\n0.000    : " + std::string(250, 'f') +
                          "\n0.000    : -----------------------\n");
}
