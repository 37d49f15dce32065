#include "misc/diagnostics/FatalError.h"

#include "OS/FileMgr.h"
#include "OS/ThreadMgr.h"
#include "diagnostics/Dying.h"
#include "diagnostics/Support.h"
#include "libmw/Shutdown.h"
#include "libmw/Splat.h"
#include "libmw/Text.h"
#include "misc/diagnostics/Console.h"
#include "misc/diagnostics/QaSplat.h"
#include "misc/diagnostics/SystemWatchdog.h"
#include "misc/threads/ServiceLock.h"

#include <stdexcept>
#include <thread>

namespace
{

// A line that the program wrote on its console, which has one row for it.
Mw::Ptr<iStatusWindow::iContents> screen;
std::string consoleLine()
{
    return toUTF8(screen->row(0)).c_str();
}
void openConsole(int columns)
{
    screen = herc_create_contents({columns, 2, 0});
    herc_set_on(true);
}

void splat()
{
    prepareToDie();
    openConsole(14);
    addSplatCallback([](const char* message)
                     { std::fprintf(stderr, "told of <%s>, <%s>\n", message, consoleLine().c_str()); });
    oma_splat("no way on");
    std::_Exit(0);
}

void splatOnTwoThreads()
{
    prepareToDie();
    addSplatCallback([](const char*) { std::thread(oma_splat, "#2").join(); });
    oma_splat("first");
}

void splatDuringAThreadsException()
{
    prepareToDie();
    const int before = raiseThreadExceptionCount();
    oma_splat("not now");
    std::exit(10 * before + exceptionInProgress());
}

void failInShutdown(Shutdown::eExitType)
{
    std::fputc('T', stderr);
    throw std::runtime_error("never ready");
}

void endThreadInShutdown(Shutdown::eExitType)
{
    std::fputc('E', stderr);
    OS().threadMgr().exitCurrentThread();
}

void askInShutdown(Shutdown::eExitType type)
{
    std::fprintf(stderr, "(type %d, flag %d, again %d, %s)", type, get_crash_flag(), postExceptionShutdown(),
                 consoleLine().c_str());
}

// `first`, which may be null, runs before the one that asks.
void shutDown(Shutdown::Function first)
{
    prepareToDie();
    openConsole(32);
    Shutdown::addCallback(first, 10);
    Shutdown::addCallback(askInShutdown, 20);
    postExceptionShutdown();
}

} // namespace

TEST(FatalErrorDeath, splatCrashesOnceAndReturnsDuringAThreadsException)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(splat(), crashed,
                "^\n\\*{33}\nOMA_SPLAT: no way on\nTime: [A-Z].{18} [0-9]{4}  \\(Session : [0-9]+ seconds\\)\n\ntold "
                "of <no way on>, "
                "<OMA: no way on>\n");
    EXPECT_EXIT(splatOnTwoThreads(), testing::ExitedWithCode(1), "^[^#]*OMA_SPLAT: first\n[^#]*$");
    EXPECT_EXIT(splatDuringAThreadsException(), testing::ExitedWithCode(1), "^$");
}

TEST(FatalErrorDeath, shutdownAfterAnExceptionTriesNineTimesUntilItSucceeds)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(shutDown(failInShutdown), testing::ExitedWithCode(1),
                "^T\\(type 1, flag 1, again 2, about to set crash flag and exit\\)T{8}$");
    EXPECT_EXIT(shutDown(endThreadInShutdown), testing::ExitedWithCode(1),
                "^E\\(type 1, flag 1, again 2, about to set crash flag and exit\\)E{8}$");
    EXPECT_EXIT(shutDown(nullptr), testing::ExitedWithCode(1),
                "^\\(type 1, flag 1, again 2, about to set crash flag and exit\\)$");
}

TEST(FatalError, sessionLengthHasThreeForms)
{
    const std::pair<int, const char*> table[] = {{1, "1 seconds"},
                                                 {60, "1 minute"},
                                                 {3599, "59 minutes"},
                                                 {3660, "1 hour, 1 minute"},
                                                 {7200, "2 hours, 0 minute"},
                                                 {100 * 3600 + 3599, "100 hours, 59 minutes"}};
    for (const auto& [seconds, expected] : table)
    {
        char text[exitTimeStrSize];
        getSessionTimeStr(seconds, text);
        EXPECT_STREQ(text, expected);
    }
}

TEST_F(Diagnostics, initialisationHappensOnceAndTakesPlatformMessages)
{
    const auto before = OS().setMessageFunction(nullptr);
    EXPECT_EQ(except_init(), 0);
    OS().message("from below");
    EXPECT_EQ(logged(), "0.000    : from below\n");
    OS().setMessageFunction([](const char*) {});
    EXPECT_EQ(except_init(), 0);
    OS().message("to another receiver");
    EXPECT_EQ(logged(), "");
    EXPECT_EQ(who_owns_service_lock(), 0u);
    OS().setMessageFunction(before);
}

TEST_F(Diagnostics, stackTraceIsLoggedUnderItsTitle)
{
    qa_splat("no stack, no lines", 8);
    EXPECT_EQ(logged(), "");

    debugger_.frames = {"inner (a.cpp:1)", std::string(300, 'f').c_str()};
    const std::string frames = "0.000    : inner (a.cpp:1)\n0.000    : " + std::string(250, 'f') + "\n";
    qa_splat("Odd", 8);
    EXPECT_EQ(logged(), "0.000    : ---- Odd -------\n" + frames + "0.000    : -----------------------\n");
    SetLogFilter("%s\n");
    logStacktrace("Odd");
    EXPECT_EQ(logged(), frames) << "the filter looks at the formats";
}

TEST_F(Diagnostics, errorIsShownUnderTheApplicationsName)
{
    OS().fileMgr().setApplicationName(L"Editor");
    testing::internal::CaptureStderr();
    showError("hidden", false);
    showError("The disk is full.", true);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Editor: The disk is full.\n");
    OS().fileMgr().setApplicationName({});
    EXPECT_FALSE(SystemWatchdog::isOnLifeSupport());
    SystemWatchdog::endLifeSupport();
    EXPECT_TRUE(logged().starts_with("assertion failed before > 0 "));
    EXPECT_FALSE(SystemWatchdog::isOnLifeSupport());
}
