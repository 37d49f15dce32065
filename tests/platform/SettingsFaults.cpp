#include "platform/SettingsStore.h"
#include "platform/SqliteFaults.h"

#include <atomic>
#include <cstdlib>
#include <random>
#include <sched.h>
#include <sys/mman.h>

namespace
{

const bool isLong = std::getenv("MW_LONG_TESTS") != nullptr;

// A number in two values, which lie in several pages.
int pairWritten(const Mw::Ptr<iSettings>& store, int number)
{
    const LightweightString<char> text((std::to_string(number) + std::string(3000, ' ')).c_str());
    return store->apply({{"a", "", text}, {"b", "", text}});
}

// Processes that count in one store, and the number that the last completed write promised.
class SettingsFaults : public SettingsStore
{
protected:
    ~SettingsFaults() override { ::munmap(promised_, sizeof *promised_); }

    void count(int from, int to) const
    {
        const Mw::Ptr<iSettings> store = open();
        for (int n = from; n <= to; ++n)
        {
            ASSERT_EQ(pairWritten(store, n), iSettings::eStored) << store->lastError();
            *promised_ = n;
        }
    }

    static int numberIn(const Mw::Ptr<iSettings>& store)
    {
        EXPECT_EQ(get(store, "a"), get(store, "b"));
        return std::atoi(get(store, "a").c_str());
    }

    void expectWhatWasPromised() const
    {
        const int promised = *promised_;
        const int found = numberIn(open());
        EXPECT_TRUE(found == promised || found == promised + 1) << found << " and not " << promised;
        EXPECT_TRUE(theMessages.empty());
    }

    SqliteFaults layer_;
    std::atomic<int>* const promised_ =
        ::new (::mmap(nullptr, sizeof *promised_, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0))
            std::atomic<int>;
};

} // namespace

TEST_F(SettingsFaults, everyCallThatFailsLeavesTheOldValuesOrTheNew)
{
    pairWritten(open(), 1);
    const std::string before = bytes(file());
    HastyClock clock;
    const OSReplacement<iDebugger> replaced(clock);
    for (const auto action : {SqliteFaults::eFailOnce, SqliteFaults::eFailFromThenOn})
        for (int call = 1, calls = 0; calls >= call - 1; ++call)
        {
            SCOPED_TRACE(call);
            std::filesystem::remove_all(file().parent_path());
            setBytes(file(), before);
            const Mw::Ptr<iSettings> store = open();
            layer_.at(call, action, true);
            const int result = pairWritten(store, 2);
            calls = layer_.calls();
            layer_.at(0);
            if (std::filesystem::exists(beside(".last-good")))
            {
                EXPECT_EQ(numberIn(Mw::openSettingsFile(TempFolder::wideOf(beside(".last-good")))), 1);
            }
            const std::pair found(numberIn(open()), numberIn(store));
            if (result == iSettings::eStored || result == iSettings::eKeptInMemory)
                EXPECT_EQ(found, std::pair(result == iSettings::eStored ? 2 : 1, 2));
            else
                EXPECT_TRUE(found == std::pair(1, 1) || found == std::pair(2, 2))
                    << found.first << found.second; // where the last flush failed
        }
}

TEST_F(SettingsFaults, aProcessKilledAtAnyCallKeepsWhatItPromised)
{
    int status = -1;
    for (int call = 1; status != 0; ++call)
    {
        SCOPED_TRACE(call);
        std::filesystem::remove_all(file().parent_path());
        *promised_ = 0;
        status = statusOf(begin(
            [&]
            {
                layer_.at(call, SqliteFaults::eKill);
                count(1, 2);
                count(3, 4); // after a copy
            }));
        ASSERT_TRUE(status == 0 || WIFSIGNALED(status));
        expectWhatWasPromised();
    }
    EXPECT_EQ(numberIn(open()), 4);
}

TEST_F(SettingsFaults, processesKilledAtRandomMomentsKeepWhatTheyPromised)
{
    std::minstd_rand random(20);
    for (int run = isLong ? 1000 : 100; run != 0; --run)
    {
        const int first = *promised_;
        const pid_t child = begin([&] { count(first + 1, first + 1'000'000); });
        const int last = first + static_cast<int>(random() % 4);
        while (*promised_ < last)
            ::sched_yield();
        for (std::atomic<unsigned> spin = static_cast<unsigned>(random() % 300'000); spin != 0; --spin)
        {
        }
        ::kill(child, SIGKILL);
        statusOf(child);
        expectWhatWasPromised();
        *promised_ = numberIn(open());
    }
}

TEST_F(SettingsFaults, twoProcessesWriteWhileAThirdReadsAndNothingIsLostOrTorn)
{
    const int values = isLong ? 10'000 : 1'000;
    for (const char* const section : {"one", "two"})
        begin(
            [&]
            {
                const Mw::Ptr<iSettings> store = open();
                for (int n = 1; n <= values; ++n)
                {
                    const LightweightString<char> text(std::to_string(n));
                    ASSERT_EQ(store->apply({{text, section, text}, {"last", section, text}}), iSettings::eStored);
                }
            });
    TestClock clock;
    const OSReplacement<iDebugger> replaced(clock);
    const Mw::Ptr<iSettings> reader = open();
    for (int running = 2; running != 0; clock.advance(51))
    {
        int status = 0;
        running -= ::waitpid(-1, &status, WNOHANG) > 0 ? 1 : 0;
        EXPECT_EQ(status, 0);
        for (const char* const section : {"one", "two"})
        {
            std::vector<iSettings::NameValuePair> read;
            reader->getMultipleValues(read, section);
            const int last = read.empty() ? 0 : static_cast<int>(read.size()) - 1;
            EXPECT_EQ(read.empty() ? "0" : read.back().value, std::to_string(last).c_str());
        }
    }
    clock.advance(51);
    for (const char* const section : {"one", "two"})
        for (int n = 1; n <= values; ++n)
            EXPECT_EQ(get(reader, std::to_string(n).c_str(), section), std::to_string(n));
}
