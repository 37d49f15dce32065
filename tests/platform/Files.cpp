#include "OS/FileMgr.h"

#include "OS/testing/FailingFileMgr.h"
#include "OS/testing/MemoryFileMgr.h"
#include "platform/TempFolder.h"

#include <gtest/gtest.h>

#include <string>

using Path = LightweightString<wchar_t>;

namespace
{

void put(iFileMgr& files, const Path& path, const std::string& text)
{
    const Mw::Ptr<iFile> file = files.openFile(path, iFile::eWrite, iFile::eCreateAlways);
    ASSERT_TRUE(file->isOpen()) << file->lastError();
    ASSERT_EQ(file->write(text.data(), text.size(), 0), static_cast<std::int64_t>(text.size())) << file->lastError();
}

std::string get(iFileMgr& files, const Path& path)
{
    const Mw::Ptr<iFile> file = files.openFile(path);
    if (!file->isOpen())
        return "(none)";
    std::string text(file->size(), '\0');
    EXPECT_EQ(file->read(text.data(), text.size(), 0), static_cast<std::int64_t>(text.size()));
    return text;
}

std::wstring listed(iFileMgr& files, const Path& directory, const wchar_t* pattern)
{
    std::vector<iFileMgr::Entry> entries;
    EXPECT_TRUE(files.list(directory, pattern, entries)) << files.lastError();
    std::wstring names;
    for (const iFileMgr::Entry& entry : entries)
        names += std::wstring(entry.name.c_str()) + (entry.isDirectory ? L"/ " : L" ");
    return names;
}

// What both the disk and its replacement in memory promise.
class Files : public testing::TestWithParam<const char*>
{
protected:
    Path in(const wchar_t* name) const { return Mw::joinPath(folder_, name); }

    TempFolder temp_;
    MemoryFileMgr memory_;
    const bool isInMemory_ = GetParam() == std::string("memory");
    const OSReplacement<iFileMgr> replaced_{isInMemory_ ? memory_ : OS().fileMgr()};
    const Path folder_ = isInMemory_ ? Path(L"/home") : temp_.wide();
};

INSTANTIATE_TEST_SUITE_P(, Files, testing::Values("disk", "memory"),
                         [](const auto& info) { return std::string(info.param); });

} // namespace

TEST_P(Files, openingFollowsTheBehaviourAskedFor)
{
    iFileMgr& files = OS().fileMgr();
    const auto opens = [&](const Path& path, iFile::eAccess access, iFile::eOpenBehaviour behaviour)
    {
        const Mw::Ptr<iFile> file = files.openFile(path, access, behaviour);
        EXPECT_EQ(file->isOpen(), file->lastError().empty());
        return file->isOpen();
    };
    const Path a = in(L"a");
    for (const Path& path : {Path(), folder_, a})
        EXPECT_FALSE(opens(path, iFile::eRead, iFile::eOpenExisting));
    EXPECT_FALSE(opens(in(L"no/such/folder"), iFile::eWrite, iFile::eCreateAlways));
    EXPECT_TRUE(opens(a, iFile::eWrite, iFile::eCreateNew));
    put(files, a, "old text");
    EXPECT_FALSE(opens(a, iFile::eWrite, iFile::eCreateNew));
    EXPECT_TRUE(opens(a, iFile::eWrite, iFile::eOpenAlways) && get(files, a) == "old text");
    EXPECT_TRUE(opens(a, iFile::eWrite, iFile::eCreateAlways) && get(files, a).empty());
}

TEST_P(Files, readsAndWritesNameTheirPlace)
{
    const Mw::Ptr<iFile> file = OS().fileMgr().openFile(in(L"a"), iFile::eReadWrite, iFile::eCreateNew);
    EXPECT_EQ(file->write("world", 5, 7), 5);
    EXPECT_EQ(file->write("hello", 5, 0), 5);
    file->reserve(1 << 20);
    EXPECT_EQ(file->size(), 12u);
    char buffer[20] = {};
    EXPECT_EQ(file->read(buffer, 20, 3), 9);
    EXPECT_EQ(std::string(buffer, 9), std::string("lo\0\0world", 9));
    EXPECT_EQ(file->read(buffer, 20, 12), 0);
    EXPECT_TRUE(file->truncate(2) && file->truncate(4) && file->flushToDisk());
    EXPECT_EQ(get(OS().fileMgr(), in(L"a")), std::string("he\0\0", 4));

    const Mw::Ptr<iFile> reader = OS().fileMgr().openFile(in(L"a"));
    EXPECT_EQ(file->identity(), reader->identity());
    EXPECT_TRUE(reader->write("x", 1, 0) == -1 && !reader->lastError().empty());
    EXPECT_TRUE(file->close());
    EXPECT_FALSE(file->close() || file->isOpen() || file->read(buffer, 1, 0) != -1);
}

TEST_P(Files, aLockKeepsOtherOpeningsOut)
{
    iFileMgr& files = OS().fileMgr();
    put(files, in(L"a"), "text");
    const Mw::Ptr<iFile> one = files.openFile(in(L"a"));
    const Mw::Ptr<iFile> two = files.openFile(in(L"a"));
    EXPECT_TRUE(one->lock(iFile::eLockShared, iFile::eTryLock) && two->lock(iFile::eLockShared, iFile::eTryLock));
    EXPECT_FALSE(two->lock(iFile::eLockExclusive, iFile::eTryLock));
    // An exclusive opening that is refused leaves the file as it was.
    EXPECT_FALSE(files.openFile(in(L"a"), iFile::eReadWrite, iFile::eCreateAlways, iFile::eShareExclusive)->isOpen());
    EXPECT_EQ(get(files, in(L"a")), "text");
    EXPECT_TRUE(one->unlock() && two->lock(iFile::eLockExclusive, iFile::eTryLock));
    EXPECT_FALSE(one->lock(iFile::eLockShared, iFile::eTryLock));
    EXPECT_TRUE(two->close() && one->lock(iFile::eLockShared, iFile::eTryLock));
}

TEST_P(Files, directoriesAreMadeWithTheirParents)
{
    iFileMgr& files = OS().fileMgr();
    EXPECT_TRUE(files.ensureDirectory(in(L"a/b/c/"))) << files.lastError();
    EXPECT_TRUE(files.ensureDirectory(in(L"a/b/c")) && files.isDirectory(in(L"a/b/c")));
    put(files, in(L"a/file"), "");
    for (const Path& path : {Path(), in(L"a/file"), in(L"a/file/below")})
        EXPECT_FALSE(files.ensureDirectory(path));
    EXPECT_FALSE(files.remove(in(L"a/b")) || files.lastError().empty());
}

TEST_P(Files, renameAndCopyReplaceWhatIsThere)
{
    iFileMgr& files = OS().fileMgr();
    put(files, in(L"a"), "first");
    put(files, in(L"b"), "second, longer");
    EXPECT_TRUE(files.rename(in(L"a"), in(L"b")));
    EXPECT_EQ(get(files, in(L"b")), "first");
    EXPECT_FALSE(files.exists(in(L"a")) || files.rename(in(L"a"), in(L"b")));

    const std::string large(300'000, 'L');
    put(files, in(L"large"), large);
    EXPECT_TRUE(files.openFile(in(L"large"), iFile::eReadWrite)->setMode(0640));
    EXPECT_TRUE(files.copy(in(L"large"), in(L"b"))) << files.lastError();
    EXPECT_EQ(get(files, in(L"b")), large);
    EXPECT_EQ(files.openFile(in(L"b"))->mode(), 0640u);
    EXPECT_EQ(listed(files, folder_, L"*"), L"b large ");
}

TEST_P(Files, listingsKnowStarAndQuestionMarkAlone)
{
    iFileMgr& files = OS().fileMgr();
    for (const wchar_t* const name :
         {L"P[1]0001", L"P[2]0001", L"P10001", L".hidden", L"\u00E9\u6620", L"a.b.c", L"\\"})
        put(files, in(name), "");
    files.ensureDirectory(in(L"dir"));
    for (const auto& [pattern, names] : {std::pair(L"P[?]????", L"P[1]0001 P[2]0001 "),
                                         {L"P[12]*", L""},
                                         {L"*.*", L".hidden a.b.c "},
                                         {L"??", L"\u00E9\u6620 "},
                                         {L"?", L"\\ "},
                                         {L"d*", L"dir/ "}})
        EXPECT_EQ(listed(files, folder_, pattern), names);
}

TEST_P(Files, streamingReadsLinesAndWritesThroughABuffer)
{
    iFileMgr& files = OS().fileMgr();
    const std::string longLine(100'000, 'x');
    {
        const Mw::Ptr<iStreamingFile> out = files.openStreamingFile(in(L"a"), iFile::eReadWrite, iFile::eCreateAlways);
        for (const std::string& text : {std::string("one\r\n\n"), longLine + "\n", std::string("last")})
            EXPECT_EQ(out->writeNext(text.data(), text.size()), static_cast<std::int64_t>(text.size()));
        EXPECT_EQ(out->position(), longLine.size() + 11);
        char back[4];
        EXPECT_TRUE(out->setPosition(0));
        EXPECT_EQ(out->readNext(back, 3), 3);
        EXPECT_EQ(out->writeNext("!", 1), 1); // at the cursor, not behind what was read ahead
    }
    const Mw::Ptr<iStreamingFile> file = files.openStreamingFile(in(L"a"));
    LightweightString<char> line;
    for (const std::string& expected : {std::string("one!"), std::string(), longLine, std::string("last")})
        EXPECT_TRUE(file->readLine(line) && line == expected.c_str());
    EXPECT_FALSE(file->readLine(line) || !file->atEnd());
}

// A line and a block that cross the buffer's end, where the disk fails; then bytes that never reach it.
TEST(StreamingFile, aFailureIsNotTheEndAndIsToldAfterClosing)
{
    MemoryFileMgr memory;
    const std::string first(65'000, 'a'), second(5'000, 'b');
    put(memory, L"/home/a", first + "\n" + second + "\n");
    FailingFileMgr failing(memory, FailingFileMgr::eRead | FailingFileMgr::eWrite);
    const Mw::Ptr<iStreamingFile> file = failing.openStreamingFile(L"/home/a", iFile::eReadWrite);
    LightweightString<char> line;
    char byte = 0;
    failing.failAt(2);
    EXPECT_TRUE(file->readLine(line));
    EXPECT_FALSE(file->readLine(line));
    EXPECT_TRUE(line.empty() && !file->atEnd() && !file->lastError().empty());
    failing.failAt(1);
    EXPECT_EQ(file->readNext(&byte, 1), -1);
    EXPECT_TRUE(file->readLine(line) && line == second.c_str());
    EXPECT_FALSE(file->readLine(line) || !file->atEnd());

    // What was read ahead is forgotten by a lock: another may have written meanwhile.
    EXPECT_TRUE(file->setPosition(0) && file->readNext(&byte, 1) == 1 && !file->atEnd());
    put(memory, L"/home/a", "XY");
    EXPECT_TRUE(file->lock(iFile::eLockExclusive, iFile::eTryLock) && file->readNext(&byte, 1) == 1);
    EXPECT_EQ(byte, 'Y');

    failing.failAt(1);
    EXPECT_EQ(file->writeNext("lost", 4), 4);
    EXPECT_FALSE(file->close());
    EXPECT_EQ(file->lastError(), "Simulated failure");
}

TEST(NativeFiles, aReplacedFileKeepsItsLinkAndItsPermissions)
{
    const TempFolder temp;
    const auto in = [&](const wchar_t* name) { return Mw::joinPath(temp.wide(), name); };
    for (const auto& [target, link] : {std::pair("target", "link"), {"made", "dangling"}, {"round", "round"}})
        std::filesystem::create_symlink(target, temp.path() / link);
    put(OS().fileMgr(), in(L"target"), "old");
    std::filesystem::permissions(temp.path() / "target", std::filesystem::perms(0640));

    EXPECT_TRUE(Mw::replaceFile(in(L"link"), "new!", 4) && Mw::replaceFile(in(L"dangling"), "made", 4));
    EXPECT_TRUE(std::filesystem::is_symlink(temp.path() / "link"));
    EXPECT_EQ(get(OS().fileMgr(), in(L"target")) + get(OS().fileMgr(), in(L"made")), "new!made");
    EXPECT_EQ(std::filesystem::status(temp.path() / "target").permissions(), std::filesystem::perms(0640));
    LightweightString<char> error;
    EXPECT_FALSE(Mw::replaceFile(in(L"round"), "x", 1, &error) || error.empty());
}

// Whatever call fails, the old contents or the new ones stand, and nothing is left beside them; where the machine
// stops at that call, what a success promised is on the disk.
TEST(ReplaceFile, isWholeWhereverTheDiskFailsOrTheMachineStops)
{
    constexpr int calls = 7; // open, mode, write, flush, close, rename, the directory's flush
    for (int call = 1; call <= calls + 1; ++call)
        for (const bool stops : {false, true})
        {
            SCOPED_TRACE(call);
            MemoryFileMgr memory;
            FailingFileMgr failing(memory);
            OSReplacement<iFileMgr> replaced(failing);
            ASSERT_TRUE(Mw::replaceFile(L"/home/a", "old", 3));
            failing.failAt(call, stops ? FailingFileMgr::eFromThenOn : FailingFileMgr::eOnce);
            LightweightString<char> error;
            EXPECT_EQ(Mw::replaceFile(L"/home/a", "new text", 8, &error), call > calls);
            EXPECT_EQ(error, call > calls ? "" : "Simulated failure");
            if (stops)
                memory.loseUnflushed();
            else
            {
                EXPECT_EQ(listed(memory, L"/home", L"*"), L"a ");
            }
            EXPECT_EQ(get(memory, L"/home/a"), call < calls + (stops ? 1 : 0) ? "old" : "new text");
        }
}
