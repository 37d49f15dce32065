// What one process alone does not show: a jar that is killed, and two jars on one file.

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

constexpr char told[] = "another process has written ";

class NumberFile : public testing::Test
{
protected:
    using Path = LightweightString<wchar_t>;

    // A process with a jar that begins with the number in the file `start`. Its settings are in memory.
    template <class Work>
    pid_t startProcess(const std::string& start, Work work)
    {
        const pid_t child = ::fork();
        if (child != 0)
            return child;
        SetLogOutput(std::fopen("/dev/null", "w"));
        TestDesktop desktop;
        const OSReplacement<iDesktop> desktopReplaced(desktop);
        CookieJar jar;
        jar.readCookieNum(TempFolder::wideOf(start));
        work(jar);
        ::_exit(0);
    }

    void begin(const std::string& name, int number) { std::ofstream(folder_.path() / name) << number; }
    std::string read(const std::string& name)
    {
        std::ifstream file(folder_.path() / name);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    TempFolder folder_;
    const std::string file_ = folder_.path() / "cookie.num";
    const Path path_ = TempFolder::wideOf(file_);
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
        const pid_t writer =
            startProcess(file_,
                         [&](CookieJar& jar)
                         {
                             for (;;)
                             {
                                 const unsigned promised = jar.cookieNum() + 1;
                                 if (!jar.writeCookieNum(path_) || ::write(ends[1], &promised, sizeof promised) < 0)
                                     ::_exit(1);
                             }
                         });
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
    struct Process
    {
        const char* name;
        int first;
        std::string log{};

        std::string last() const { return std::to_string(first + writes); }
        bool tells(const std::string& number) const { return log.find(told + number + " ") != log.npos; }
    } processes[] = {{"a", 1000}, {"b", 500000}};

    for (const Process& process : processes)
    {
        begin(process.name, process.first);
        startProcess(folder_.path() / process.name,
                     [&](CookieJar& jar)
                     {
                         SetLogOutput(std::fopen((folder_.path() / process.name).c_str(), "w"));
                         for (int i = 0; i < writes; ++i)
                         {
                             jar.cookieNum();
                             jar.writeCookieNum(path_);
                         }
                         std::fflush(nullptr);
                     });
    }
    while (::wait(nullptr) > 0)
        ;
    for (Process& process : processes)
        process.log = read(process.name);

    // A process that does not find the number that it wrote last was overwritten, and the other has told of it.
    const auto check = [&](const Process& process, const Process& other)
    {
        for (int number = process.first + 1; number < process.first + writes; ++number)
        {
            if (process.log.find("which becomes " + std::to_string(number + 1) + ".") != process.log.npos)
            {
                EXPECT_TRUE(other.tells(std::to_string(number))) << number;
            }
        }
    };
    check(processes[0], processes[1]);
    check(processes[1], processes[0]);
    const std::string number = read("cookie.num");
    ASSERT_TRUE(number == processes[0].last() || number == processes[1].last()) << number;
    const bool firstWon = number == processes[0].last();
    EXPECT_TRUE(processes[firstWon ? 0 : 1].tells(processes[firstWon ? 1 : 0].last()));
}
