#include "SwapTables.h"
#include "platform/TempFolder.h"

#include <csignal>
#include <cstdlib>
#include <random>
#include <sys/wait.h>
#include <unistd.h>

using namespace swaptables;

namespace
{

constexpr unsigned count = 200;

Mw::Ptr<TagMarkerTable> openAt(const Path& folder, bool& failed)
{
    Mw::Ptr<TagMarkerTable> table;
    TagMarkerTable::openSwap(table, folder, Cookie('P', 7, 0, 5), failed, iFile::eOpenAlways, L"odb");
    return table;
}

// Every third object says which generation the file is of; the others are carried over.
bool save(TagMarkerTable& table, int generation)
{
    while (table.size() < count)
        table.intern(makeCut(0, "of any generation"));
    table.displaceAll();
    for (unsigned i = 0; i < count; i += 3)
        Mw::dynamicCast<Cut>(table.markers()[i]->demand())->number = generation;
    return table.flush();
}

// The generation, or -1 if the file isn't of one.
int generationOf(const Path& folder)
{
    bool failed = true;
    const Mw::Ptr<TagMarkerTable> table = openAt(folder, failed);
    if (failed || table->size() != count)
        return -1;
    const auto numberOf = [&](unsigned i) { return Mw::dynamicCast<Cut>(table->markers()[i]->held())->number; };
    for (unsigned i = 0; i < count; ++i)
        if (numberOf(i) != (i % 3 == 0 ? numberOf(0) : 0))
            return -1;
    return numberOf(0);
}

// Saves one generation after the other and tells each that is saved, until it is killed.
[[noreturn]] void saveForEver(const Path& folder, int generation, int told)
{
    bool failed = true;
    const Mw::Ptr<TagMarkerTable> table = openAt(folder, failed);
    while (!failed && save(*table, generation) && ::write(told, &generation, sizeof generation) == sizeof generation)
        ++generation;
    ::_exit(1);
}

} // namespace

TEST_F(SwapTableTest, writerKilledAtAnyMomentLeavesAFlushThatWasCompleted)
{
    const TempFolder folder;
    const int rounds = std::getenv("MW_LONG_TESTS") != nullptr ? 1000 : 60;
    std::minstd_rand random(3);
    int promised = 0;
    bool failed = true;
    ASSERT_TRUE(save(*openAt(folder.wide(), failed), promised));
    for (int round = 0; round < rounds; ++round)
    {
        int told[2];
        ASSERT_EQ(::pipe(told), 0);
        const pid_t child = ::fork();
        if (child == 0)
            saveForEver(folder.wide(), promised + 1, told[1]);
        ::close(told[1]);
        for (auto saves = random() % 2; saves != 0; --saves)
            ASSERT_EQ(::read(told[0], &promised, sizeof promised), static_cast<ssize_t>(sizeof promised));
        // The moment of the kill: in any step of a flush or between two.
        ::usleep(static_cast<useconds_t>(random() % 12000));
        ::kill(child, SIGKILL);
        ::waitpid(child, nullptr, 0);
        while (::read(told[0], &promised, sizeof promised) > 0)
            ;
        ::close(told[0]);
        const int found = generationOf(folder.wide());
        ASSERT_GE(found, promised) << round;
        ASSERT_LE(found, promised + 1) << round;
    }
}
