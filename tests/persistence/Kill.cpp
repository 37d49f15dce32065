#include "misc/base/TextFile.h"
#include "misc/persistence/StreamFile.h"
#include "platform/TempFolder.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <random>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

using Path = LightweightString<wchar_t>;

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

// Saves one generation after the other and tells each that is saved, until it is killed.
[[noreturn]] void saveForEver(const Path& path, unsigned generation, int told)
{
    while (save(path, generation) && ::write(told, &generation, sizeof generation) == sizeof generation)
        ++generation;
    ::_exit(1);
}

} // namespace

TEST(Kill, writerKilledAtAnyMomentLeavesFilesThatRead)
{
    const TempFolder folder;
    const Path path = folder.wide() + L"/objects";
    const int rounds = std::getenv("MW_LONG_TESTS") != nullptr ? 1000 : 100;
    std::minstd_rand random(5);
    unsigned promised = 0;
    ASSERT_TRUE(save(path, promised));
    for (int round = 0; round < rounds; ++round)
    {
        int told[2];
        ASSERT_EQ(::pipe(told), 0);
        const pid_t child = ::fork();
        if (child == 0)
            saveForEver(path, promised + 1, told[1]);
        ::close(told[1]);
        for (auto saves = random() % 2; saves != 0; --saves)
            ASSERT_EQ(::read(told[0], &promised, sizeof promised), static_cast<ssize_t>(sizeof promised));
        // The moment of the kill: in any step of a save or between two.
        ::usleep(static_cast<useconds_t>(random() % 20000));
        ::kill(child, SIGKILL);
        ::waitpid(child, nullptr, 0);
        while (::read(told[0], &promised, sizeof promised) > 0)
            ;
        ::close(told[0]);
        for (const long found : {generationOf(path), generationOfText(path + L".txt")})
        {
            ASSERT_GE(found, static_cast<long>(promised)) << round;
            ASSERT_LE(found, static_cast<long>(promised) + 1) << round;
        }
    }
}
