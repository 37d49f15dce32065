// What one process alone does not show: a jar that is killed, two jars on one file, and another user's lock.

#include "identity/Support.h"
#include "misc/identity/CookieJar.h"
#include "platform/TempFolder.h"

#include <atomic>
#include <csignal>
#include <fstream>
#include <random>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

class NumberFile : public testing::Test
{
protected:
    // A process with a jar that begins with the number in `start`. Its settings are in memory.
    template <class Work>
    pid_t startProcess(const std::string& start, Work work)
    {
        const pid_t child = ::fork();
        if (child != 0)
            return child;
        SetLogOutput(std::fopen((folder_.path() / (start + ".log")).c_str(), "w"));
        TestDesktop desktop;
        const OSReplacement<iDesktop> desktopReplaced(desktop);
        CookieJar jar;
        jar.readCookieNum(TempFolder::wideOf(folder_.path() / start));
        work(jar);
        std::fflush(nullptr);
        ::_exit(0);
    }

    void begin(const std::string& name, int number) { std::ofstream(folder_.path() / name) << number; }
    std::string read(const std::string& name)
    {
        std::ifstream file(folder_.path() / name);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    TempFolder folder_;
    const LightweightString<wchar_t> path_ = TempFolder::wideOf(folder_.path() / "cookie.num");
};

} // namespace

TEST_F(NumberFile, holdsWhatWasPromisedWhenItsWriterIsKilled)
{
    const int rounds = std::getenv("MW_LONG_TESTS") != nullptr ? 1000 : 100;
    std::minstd_rand random;
    begin("cookie.num", 1);
    for (int round = 0; round < rounds; ++round)
    {
        int ends[2];
        ASSERT_EQ(::pipe(ends), 0);
        const auto count = [&](CookieJar& jar)
        {
            for (;;)
            {
                const unsigned promised = jar.cookieNum() + 1;
                if (!jar.writeCookieNum(path_) || ::write(ends[1], &promised, sizeof promised) < 0)
                    ::_exit(1);
            }
        };
        const pid_t writer = startProcess("cookie.num", count);
        ::close(ends[1]);
        unsigned promised = 0;
        const auto hear = [&] { return ::read(ends[0], &promised, sizeof promised) == sizeof promised; };
        for (auto writes = random() % 4; writes > 0; --writes)
            EXPECT_TRUE(hear());
        for (auto turns = random() % 1000000; turns > 0; --turns)
            std::atomic_signal_fence(std::memory_order_seq_cst);
        ::kill(writer, SIGKILL);
        while (hear())
            ;
        ::waitpid(writer, nullptr, 0);
        ::close(ends[0]);

        const std::string text = read("cookie.num");
        const unsigned number = static_cast<unsigned>(std::atoi(text.c_str()));
        ASSERT_EQ(text, std::to_string(number));
        ASSERT_GE(number, std::max(promised, 1u));
    }
}

TEST_F(NumberFile, whoeverOverwritesAnotherProcessSaysSo)
{
    constexpr int writes = 40;
    const std::pair<const char*, int> processes[] = {{"a", 1000}, {"b", 500000}};
    for (const auto& [name, first] : processes)
    {
        begin(name, first);
        startProcess(name,
                     [&](CookieJar& jar)
                     {
                         for (int i = 0; i < writes; ++i)
                         {
                             jar.cookieNum();
                             jar.writeCookieNum(path_);
                         }
                     });
    }
    while (::wait(nullptr) > 0)
        ;
    // Each number of one that the other replaced is told of by the other, the last one of the loser, too.
    const std::string last = read("cookie.num");
    for (int p = 0; p < 2; ++p)
    {
        const int first = processes[p].second;
        const std::string mine = read(processes[p].first + std::string(".log"));
        const std::string others = read(processes[1 - p].first + std::string(".log"));
        for (int number = first + 1; number <= first + writes; ++number)
        {
            const bool overwritten = number == first + writes
                                         ? std::to_string(number) != last
                                         : mine.find("which becomes " + std::to_string(number + 1) + ".") != mine.npos;
            const bool isTold = others.find("has written " + std::to_string(number) + " ") != others.npos;
            EXPECT_EQ(isTold, overwritten) << number;
        }
    }
}

TEST_F(NumberFile, lockFileOfAnotherUserServes)
{
    begin("cookie.num", 7);
    begin("cookie.num.lock", 0);
    std::filesystem::permissions(folder_.path() / "cookie.num.lock", std::filesystem::perms(0444));
    std::filesystem::permissions(folder_.path(), std::filesystem::perms(0777));
    const auto count = [&](CookieJar& jar)
    {
        // The superuser may write to anything.
        jar.cookieNum();
        ::_exit((::geteuid() != 0 || ::setuid(65534) == 0) && jar.writeCookieNum(path_) ? 0 : 1);
    };
    int status = -1;
    ::waitpid(startProcess("cookie.num", count), &status, 0);
    EXPECT_EQ(status, 0) << read("cookie.num.log");
    EXPECT_EQ(read("cookie.num"), "8");
}
