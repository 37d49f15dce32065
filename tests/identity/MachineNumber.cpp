#include "misc/identity/MachineNumber.h"

#include "identity/Support.h"
#include "misc/identity/Cookie.h"

#include <latch>
#include <set>
#include <thread>
#include <vector>

namespace
{

class MachineNumber : public MachineInMemory
{
protected:
    MachineNumber()
    {
        GlobalConfig().removeValue("machine.num", "");
        files_.setApplicationName(L"editor");
        files_.ensureDirectory(L"/here");
        files_.setWorkingDirectory(L"/here");
    }

    const Path ofUser_{L"/data/editor/machine.num"};
    const char* const banner_ = "\n***  !! WARNING !!  Cannot find valid Machine Number. ***\n";
};

} // namespace

TEST_F(MachineNumber, firstSourceThatHasOneGivesIt)
{
    write(ofUser_, "4\n");
    EXPECT_EQ(our_machine_number_get_from_file(), 4);
    write(L"/here/machine.num", "3");
    EXPECT_EQ(our_machine_number_get_from_file(), 3);
    write(L"/here/c:\\machine.num", " 2703 and more");
    EXPECT_EQ(our_machine_number_get_from_file(), 2703);
    GlobalConfig().setValue("machine.num", 647, ""); // taken as it is
    EXPECT_EQ(our_machine_number_get_from_file(), 647);
}

TEST_F(MachineNumber, badFileIsNotPassedOverNorChanged)
{
    files_.ensureDirectory(ofUser_);
    EXPECT_EQ(our_machine_number_get_from_file(), 0);
    EXPECT_TRUE(wasSaid("could not open /data/editor/machine.num: Is a directory\n") && files_.remove(ofUser_));
    write(ofUser_, "4\n");
    for (const char* const bad :
         {"", "647", "0", "2704", "-5", "4294967297", "none", "                                 8"})
    {
        write(L"/here/machine.num", bad);
        EXPECT_TRUE(our_machine_number_get_from_file() == 0 && wasSaid(banner_)) << bad;
    }
}

TEST_F(MachineNumber, isMadeUpOnceAndKeptByAllThreadsOfAFirstRun)
{
    HastyClock clock;
    const OSReplacement<iDebugger> replaced(clock);
    std::set<int> made;
    for (int round = 0; round < 50; ++round)
    {
        files_.remove(ofUser_);
        clock.advance(1);
        int found[3] = {};
        std::latch started(3);
        std::vector<std::thread> threads;
        for (int& number : found)
            threads.emplace_back(
                [&]
                {
                    started.arrive_and_wait();
                    number = our_machine_number_get_from_file();
                });
        for (std::thread& thread : threads)
            thread.join();
        for (const int number : found)
            ASSERT_EQ(std::to_string(number) + "\n", contents(ofUser_));
        ASSERT_TRUE(isValidMachineNum(found[0]) && found[0] < 2700);
        made.insert(found[0]);
    }
    EXPECT_GT(made.size(), 30u) << "a machine that is set up a little later is another";
}

TEST_F(MachineNumber, isWholeOrNoneWhateverFails)
{
    HastyClock clock;
    const OSReplacement<iDebugger> replacedClock(clock);
    for (const auto afterwards : {FailingFileMgr::eOnce, FailingFileMgr::eFromThenOn})
        for (auto [n, reached] = std::pair(1, true); reached; ++n)
        {
            FailingFileMgr failing(files_, FailingFileMgr::eAllCalls);
            const OSReplacement<iFileMgr> replaced(failing);
            failing.failAt(n, afterwards);
            const int made = our_machine_number_get_from_file();
            reached = failing.calls() >= n;
            failing.failAt(0);
            const std::string found = contents(ofUser_);
            EXPECT_TRUE(found == std::to_string(made) + "\n" || made == 0) << n << found;
            EXPECT_TRUE(found == "none" || isValidMachineNum(std::stoi(found))) << n << found;
            EXPECT_EQ(wasSaid(banner_), made == 0) << n;
            files_.remove(ofUser_);
        }
}
