#include "SwapTables.h"
#include "misc/base/TextFile.h"
#include "misc/persistence/StreamFile.h"
#include "platform/TempFolder.h"

#include <csignal>
#include <cstdlib>
#include <functional>
#include <random>
#include <sys/wait.h>
#include <unistd.h>

using namespace swaptables;

namespace
{

// Files that say which generation they are from, over and over. That of the stream is more than is kept back
// from the file beside.
constexpr int copies = 100'000;
constexpr int lines = 5'000;

bool save(const Path& path, unsigned generation)
{
    StreamFile file;
    if (!file.open(path, iFile::eCreateAlways))
        return false;
    for (int i = 0; i < copies; ++i)
        file.setUnsignedLong(generation);
    TextFile text;
    for (int i = 0; i < lines; ++i)
        text.appendLine(std::to_string(generation));
    return file.flush() && text.save(path + L".txt");
}

// The generation, or -1 if the file isn't of one.
long generationOf(const Path& path)
{
    StreamFile file;
    unsigned first = 0;
    if (!file.open(path, iFile::eOpenExisting) || file.size() != copies * sizeof first || !file.get(first))
        return -1;
    for (unsigned next = first; !file.eof();)
        if (!file.get(next) || next != first)
            return -1;
    return first;
}

long generationOfText(const Path& path)
{
    TextFile text;
    if (!text.load(path) || text.numLines() != lines)
        return -1;
    for (unsigned i = 1; i < text.numLines(); ++i)
        if (text[i] != text[0])
            return -1;
    return std::stol(std::string(text[0]));
}

constexpr unsigned count = 200;

Mw::Ptr<TagMarkerTable> openAt(const Path& folder, bool& failed)
{
    Mw::Ptr<TagMarkerTable> table;
    TagMarkerTable::openSwap(table, folder, Cookie('P', 7, 0, 5), failed, iFile::eOpenAlways, L"odb");
    return table;
}

// Every third object says which generation the file is of; the others are carried over.
bool save(TagMarkerTable& table, long generation)
{
    while (table.size() < count)
        table.intern(makeCut(0, "of any generation"));
    table.displaceAll();
    for (unsigned i = 0; i < count; i += 3)
        Mw::dynamicCast<Cut>(table.markers()[i]->demand())->number = int(generation);
    return table.flush();
}

// The generation, or -1 if the file isn't of one.
long generationOfTable(const Path& folder)
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

// Has a child save one generation after the other and tell each that is saved, until it is killed, at any step of
// a save or between two. `found` then gives the generation that is there: the last that was saved, or the next.
void killWriters(const std::function<bool(long)>& save, const std::function<std::vector<long>()>& found)
{
    const int rounds = std::getenv("MW_LONG_TESTS") != nullptr ? 1000 : 80;
    std::minstd_rand random(5);
    long promised = 0;
    ASSERT_TRUE(save(promised));
    for (int round = 0; round < rounds; ++round)
    {
        int told[2];
        ASSERT_EQ(::pipe(told), 0);
        const pid_t child = ::fork();
        if (child == 0)
        {
            for (long next = promised + 1; save(next) && ::write(told[1], &next, sizeof next) == sizeof next;)
                ++next;
            ::_exit(1);
        }
        ::close(told[1]);
        for (auto saves = random() % 2; saves != 0; --saves)
            ASSERT_EQ(::read(told[0], &promised, sizeof promised), static_cast<ssize_t>(sizeof promised));
        ::usleep(static_cast<useconds_t>(random() % 16000));
        ::kill(child, SIGKILL);
        ::waitpid(child, nullptr, 0);
        while (::read(told[0], &promised, sizeof promised) > 0)
            ;
        ::close(told[0]);
        for (const long generation : found())
            ASSERT_TRUE(generation == promised || generation == promised + 1) << round;
    }
}

} // namespace

TEST(Kill, writerKilledAtAnyMomentLeavesFilesThatRead)
{
    const TempFolder folder;
    const Path path = folder.wide() + L"/objects";
    killWriters([&](long generation) { return save(path, static_cast<unsigned>(generation)); },
                [&] {
                    return std::vector{generationOf(path), generationOfText(path + L".txt")};
                });
}

TEST_F(SwapTableTest, writerKilledAtAnyMomentLeavesAFlushThatWasCompleted)
{
    const TempFolder folder;
    Mw::Ptr<TagMarkerTable> table;
    pid_t writer = 0;
    const auto saveTable = [&](long generation)
    {
        bool failed = false;
        if (std::exchange(writer, ::getpid()) != ::getpid())
            table = openAt(folder.wide(), failed);
        return !failed && save(*table, generation);
    };
    killWriters(saveTable, [&] { return std::vector{generationOfTable(folder.wide())}; });
}
