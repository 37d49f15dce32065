#include "misc/identity/MachineNumber.h"

#include "identity/Support.h"
#include "misc/identity/Cookie.h"

#include "OS/SystemInfo.h"

#include <set>
#include <thread>
#include <vector>

namespace
{

// A system with a registry.
class RegistrySystem : public iSystemInfo
{
public:
    std::string value;

    bool getMemoryInfo(MemoryInfo&) override { return false; }
    LightweightString<char> getRegistryValue(const LightweightString<char>& key, const LightweightString<char>& name,
                                             const LightweightString<char>& view) override
    {
        const bool asked = key == "HKEY_LOCAL_MACHINE\\SOFTWARE\\Marrowline\\Configuration" && name == "machine.num" &&
                           view == "wow32";
        return asked ? value.c_str() : "0";
    }
    int processorCount() override { return 1; }
    Mw::Ptr<iDiskDrive> diskDrive(const LightweightString<wchar_t>&) override { return {}; }
    Mw::Ptr<iDLL> loadDLL(const LightweightString<wchar_t>&) override { return {}; }
};

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

    RegistrySystem system;
    OSReplacement<iSystemInfo> replaced(system);
    system.value = "no number";
    EXPECT_EQ(our_machine_number_get_from_file(), 2703);
    system.value = "3000"; // taken as it is, and so is a setting
    EXPECT_EQ(our_machine_number_get_from_file(), 3000);
    GlobalConfig().setValue("machine.num", 647, "");
    EXPECT_EQ(our_machine_number_get_from_file(), 647);
    EXPECT_EQ(said(), "");
}

TEST_F(MachineNumber, fileWithABadNumberIsNotPassedOver)
{
    write(ofUser_, "4\n");
    for (const char* const bad :
         {"", "647", "0", "2704", "-5", "4294967297", "none", "                                 8"})
    {
        write(L"/here/machine.num", bad);
        EXPECT_EQ(our_machine_number_get_from_file(), 0) << bad;
        EXPECT_EQ(occurrences(said(), banner_), 1u) << bad;
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
        int found[3] = {};
        std::vector<std::thread> threads;
        for (int& number : found)
            threads.emplace_back(
                [&]
                {
                    clock.advance(1);
                    number = our_machine_number_get_from_file();
                });
        for (std::thread& thread : threads)
            thread.join();
        for (const int number : found)
            ASSERT_EQ(std::to_string(number) + "\n", contents(ofUser_));
        ASSERT_TRUE(isValidMachineNum(found[0]) && found[0] < 2700);
        made.insert(found[0]);
    }
    EXPECT_GT(made.size(), 30u); // a machine that is set up a little later is another
    EXPECT_EQ(said(), "");
}

TEST_F(MachineNumber, fileThatCannotBeOpenedIsToldOfAndLeftAlone)
{
    files_.ensureDirectory(L"/here/machine.num");
    files_.ensureDirectory(ofUser_);
    EXPECT_EQ(our_machine_number_get_from_file(), 0);
    const std::string log = said();
    for (const char* const path : {"machine.num", "/data/editor/machine.num"})
        EXPECT_NE(log.find("could not open " + std::string(path) + ": Is a directory\n"), log.npos) << log;
    EXPECT_TRUE(files_.isDirectory(ofUser_));
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
            EXPECT_EQ(occurrences(said(), banner_), made != 0 ? 0u : 1u) << n;
            files_.remove(ofUser_);
        }
}
