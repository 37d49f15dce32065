#include "OS/FileMgr.h"

#include "OS/Debugger.h"
#include "OS/testing/FailingFileMgr.h"
#include "OS/testing/MemoryFileMgr.h"
#include "platform/Environment.h"
#include "platform/TempFolder.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>

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
    void SetUp() override
    {
        if (GetParam() == std::string("memory"))
        {
            memory_ = std::make_unique<MemoryFileMgr>();
            replaced_ = std::make_unique<OSReplacement<iFileMgr>>(*memory_);
            folder_ = L"/home";
        }
        else
            folder_ = temp_.wide();
    }

    Path in(const wchar_t* name) const { return Mw::joinPath(folder_, name); }

    TempFolder temp_;
    std::unique_ptr<MemoryFileMgr> memory_;
    std::unique_ptr<OSReplacement<iFileMgr>> replaced_;
    Path folder_;
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
    EXPECT_FALSE(opens(L"", iFile::eRead, iFile::eOpenExisting));
    EXPECT_FALSE(opens(in(L"no/such/folder"), iFile::eWrite, iFile::eCreateAlways));
    EXPECT_FALSE(opens(folder_, iFile::eRead, iFile::eOpenExisting));
    EXPECT_FALSE(opens(in(L"a"), iFile::eReadWrite, iFile::eOpenExisting));
    EXPECT_TRUE(opens(in(L"a"), iFile::eWrite, iFile::eCreateNew));
    EXPECT_FALSE(opens(in(L"a"), iFile::eWrite, iFile::eCreateNew));
    put(files, in(L"a"), "old text");
    EXPECT_TRUE(opens(in(L"a"), iFile::eWrite, iFile::eOpenAlways));
    EXPECT_EQ(get(files, in(L"a")), "old text");
    EXPECT_TRUE(opens(in(L"a"), iFile::eWrite, iFile::eCreateAlways));
    EXPECT_EQ(get(files, in(L"a")), "");
    EXPECT_FALSE(opens(Path(L"/tmp/x\0y", 8), iFile::eWrite, iFile::eCreateAlways) &&
                 GetParam() == std::string("disk"));
}

TEST_P(Files, readsAndWritesNameTheirPlace)
{
    const Mw::Ptr<iFile> file = OS().fileMgr().openFile(in(L"a"), iFile::eReadWrite, iFile::eCreateNew);
    EXPECT_EQ(file->write("world", 5, 7), 5);
    EXPECT_EQ(file->write("hello", 5, 0), 5);
    file->reserve(1 << 20);
    file->startFlush(0, 12);
    EXPECT_EQ(file->size(), 12u);
    EXPECT_EQ(file->recalculateSize(), 12u);
    char buffer[20] = {};
    EXPECT_EQ(file->read(buffer, 20, 3), 9);
    EXPECT_EQ(std::string(buffer, 9), std::string("lo\0\0world", 9));
    EXPECT_EQ(file->read(buffer, 20, 12), 0);
    EXPECT_EQ(file->read(buffer, 20, 1u << 30), 0);
    EXPECT_TRUE(file->truncate(2) && file->truncate(4) && file->flushToDisk());
    EXPECT_EQ(file->read(buffer, 20, 0), 4);
    EXPECT_EQ(std::string(buffer, 4), std::string("he\0\0", 4));
    EXPECT_TRUE(file->setModificationTime(1234.5));
    EXPECT_DOUBLE_EQ(file->modificationTime(), 1234.5);
    EXPECT_EQ(file->identity(), OS().fileMgr().openFile(in(L"a"))->identity());

    const Mw::Ptr<iFile> reader = OS().fileMgr().openFile(in(L"a"));
    EXPECT_EQ(reader->write("x", 1, 0), -1);
    EXPECT_FALSE(reader->lastError().empty());
    EXPECT_TRUE(file->close());
    EXPECT_FALSE(file->close());
    EXPECT_FALSE(file->isOpen());
    EXPECT_EQ(file->read(buffer, 1, 0), -1);
}

TEST_P(Files, aLockKeepsOtherOpeningsOut)
{
    iFileMgr& files = OS().fileMgr();
    put(files, in(L"a"), "text");
    const Mw::Ptr<iFile> one = files.openFile(in(L"a"));
    const Mw::Ptr<iFile> two = files.openFile(in(L"a"));
    EXPECT_TRUE(one->lock(iFile::eLockShared, iFile::eTryLock));
    EXPECT_TRUE(two->lock(iFile::eLockShared, iFile::eTryLock));
    EXPECT_FALSE(two->lock(iFile::eLockExclusive, iFile::eTryLock));
    // An exclusive opening that is refused leaves the file as it was.
    const Mw::Ptr<iFile> refused =
        files.openFile(in(L"a"), iFile::eReadWrite, iFile::eCreateAlways, iFile::eShareExclusive);
    EXPECT_FALSE(refused->isOpen());
    EXPECT_EQ(get(files, in(L"a")), "text");
    EXPECT_TRUE(one->unlock());
    EXPECT_TRUE(two->lock(iFile::eLockExclusive, iFile::eTryLock));
    EXPECT_FALSE(one->lock(iFile::eLockShared, iFile::eTryLock));
    EXPECT_TRUE(two->close());
    EXPECT_TRUE(one->lock(iFile::eLockShared, iFile::eTryLock));
}

TEST_P(Files, directoriesAreMadeWithTheirParents)
{
    iFileMgr& files = OS().fileMgr();
    EXPECT_TRUE(files.ensureDirectory(in(L"a/b/c/"))) << files.lastError();
    EXPECT_TRUE(files.ensureDirectory(in(L"a/b/c")));
    EXPECT_TRUE(files.isDirectory(in(L"a/b")) && files.exists(in(L"a/b/c")));
    EXPECT_FALSE(files.ensureDirectory(L""));
    put(files, in(L"a/file"), "");
    EXPECT_FALSE(files.ensureDirectory(in(L"a/file")));
    EXPECT_FALSE(files.ensureDirectory(in(L"a/file/below")));
    EXPECT_FALSE(files.isDirectory(in(L"a/file")));
    EXPECT_FALSE(files.remove(in(L"a/b")));
    EXPECT_FALSE(files.lastError().empty());
    EXPECT_TRUE(files.remove(in(L"a/b/c")) && files.remove(in(L"a/b")));
    EXPECT_FALSE(files.exists(in(L"a/b")));
}

TEST_P(Files, renameAndCopyReplaceWhatIsThere)
{
    iFileMgr& files = OS().fileMgr();
    put(files, in(L"a"), "first");
    put(files, in(L"b"), "second, longer");
    EXPECT_TRUE(files.rename(in(L"a"), in(L"b")));
    EXPECT_EQ(get(files, in(L"b")), "first");
    EXPECT_FALSE(files.exists(in(L"a")));
    EXPECT_FALSE(files.rename(in(L"a"), in(L"b")));

    const std::string large(300'000, 'L');
    put(files, in(L"large"), large);
    EXPECT_TRUE(files.openFile(in(L"large"), iFile::eReadWrite)->setMode(0640));
    EXPECT_TRUE(files.copy(in(L"large"), in(L"b"))) << files.lastError();
    EXPECT_EQ(get(files, in(L"b")), large);
    EXPECT_EQ(files.openFile(in(L"b"))->mode(), 0640u);
    EXPECT_FALSE(files.copy(in(L"none"), in(L"b")));
    EXPECT_EQ(listed(files, folder_, L"*"), L"b large ");
}

TEST_P(Files, listingsKnowStarAndQuestionMarkAlone)
{
    iFileMgr& files = OS().fileMgr();
    for (const wchar_t* const name :
         {L"P[1]0001", L"P[2]0001", L"P10001", L".hidden", L"\u00E9\u6620", L"a.b.c", L"\\"})
        put(files, in(name), "");
    files.ensureDirectory(in(L"dir"));
    EXPECT_EQ(listed(files, folder_, L"P[?]????"), L"P[1]0001 P[2]0001 ");
    EXPECT_EQ(listed(files, folder_, L"P[12]*"), L"");
    EXPECT_EQ(listed(files, folder_, L"*.*"), L".hidden a.b.c ");
    EXPECT_EQ(listed(files, folder_, L"??"), L"\u00E9\u6620 ");
    EXPECT_EQ(listed(files, folder_, L"?"), L"\\ ");
    EXPECT_EQ(listed(files, folder_, L""), L"");
    EXPECT_EQ(listed(files, folder_, L"d*"), L"dir/ ");
    std::vector<iFileMgr::Entry> entries;
    EXPECT_FALSE(files.list(in(L"none"), L"*", entries));
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
        EXPECT_EQ(out->size(), longLine.size() + 11);
        char back[4];
        EXPECT_TRUE(out->setPosition(0));
        EXPECT_EQ(out->readNext(back, 3), 3);
        EXPECT_EQ(out->writeNext("!", 1), 1); // at the cursor, not behind what was read ahead
    }
    const Mw::Ptr<iStreamingFile> file = files.openStreamingFile(in(L"a"));
    LightweightString<char> line;
    for (const std::string& expected : {std::string("one!"), std::string(), longLine, std::string("last")})
    {
        EXPECT_TRUE(file->readLine(line));
        EXPECT_EQ(line, expected.c_str());
    }
    EXPECT_FALSE(file->readLine(line));
    EXPECT_TRUE(file->atEnd());
    EXPECT_FALSE(files.openStreamingFile(in(L"none"))->isOpen());
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
    std::string block(6'000, '\0');
    failing.failAt(2);
    EXPECT_TRUE(file->readLine(line));
    EXPECT_FALSE(file->readLine(line));
    EXPECT_TRUE(line.empty() && !file->atEnd() && !file->lastError().empty());
    EXPECT_EQ(file->position(), first.size() + 1);
    failing.failAt(1);
    EXPECT_EQ(file->readNext(block.data(), 1), -1);
    EXPECT_EQ(file->position(), first.size() + 1);
    EXPECT_TRUE(file->readLine(line));
    EXPECT_EQ(line, second.c_str());
    EXPECT_FALSE(file->readLine(line));
    EXPECT_TRUE(file->atEnd());

    // What was read ahead is forgotten by a lock: another may have written meanwhile.
    EXPECT_TRUE(file->setPosition(0) && file->readNext(block.data(), 1) == 1 && !file->atEnd());
    iFileMgr& others = memory;
    EXPECT_EQ(others.openFile(L"/home/a", iFile::eWrite, iFile::eOpenExisting)->write("XY", 2, 0), 2);
    EXPECT_TRUE(file->lock(iFile::eLockExclusive, iFile::eTryLock));
    EXPECT_EQ(file->readNext(block.data(), 1), 1);
    EXPECT_EQ(block[0], 'Y');

    failing.failAt(1);
    EXPECT_EQ(file->writeNext("lost", 4), 4);
    EXPECT_FALSE(file->close());
    EXPECT_EQ(file->lastError(), "Simulated failure");
}

TEST(NativeFiles, namesSurviveTheWayToTheDiskAndBack)
{
    const TempFolder temp;
    for (const std::string name : {"\xC3\xA9\xE6\x98\xA0\xF0\x9F\x8E\xAC", " lead and trail ", "a\nb\x01\x7F", "*?[]"})
    {
        put(OS().fileMgr(), Mw::joinPath(temp.wide(), TempFolder::wideOf(name)), "x");
        EXPECT_TRUE(std::filesystem::exists(temp.path() / name)) << name;
        std::vector<iFileMgr::Entry> entries;
        EXPECT_TRUE(OS().fileMgr().list(temp.wide(), L"*", entries));
        ASSERT_EQ(entries.size(), 1u);
        EXPECT_EQ(entries[0].name, TempFolder::wideOf(name));
        EXPECT_TRUE(OS().fileMgr().remove(Mw::joinPath(temp.wide(), entries[0].name)));
    }
}

TEST(NativeFiles, aReplacedFileKeepsItsLinkAndItsPermissions)
{
    const TempFolder temp;
    const Path target = Mw::joinPath(temp.wide(), L"target");
    const Path link = Mw::joinPath(temp.wide(), L"link");
    const Path dangling = Mw::joinPath(temp.wide(), L"dangling");
    std::filesystem::create_symlink("target", temp.path() / "link");
    std::filesystem::create_symlink("link2", temp.path() / "dangling");
    std::filesystem::create_symlink("made", temp.path() / "link2");
    std::filesystem::create_symlink("round", temp.path() / "round");
    put(OS().fileMgr(), target, "old");
    std::filesystem::permissions(temp.path() / "target", std::filesystem::perms(0640));

    EXPECT_EQ(OS().fileMgr().resolve(link), target);
    LightweightString<char> error;
    EXPECT_TRUE(Mw::replaceFile(link, "new!", 4, &error)) << error;
    EXPECT_TRUE(std::filesystem::is_symlink(temp.path() / "link"));
    EXPECT_EQ(get(OS().fileMgr(), target), "new!");
    EXPECT_EQ(std::filesystem::status(temp.path() / "target").permissions(), std::filesystem::perms(0640));

    EXPECT_TRUE(Mw::replaceFile(dangling, "made", 4, &error)) << error;
    EXPECT_EQ(get(OS().fileMgr(), Mw::joinPath(temp.wide(), L"made")), "made");
    EXPECT_FALSE(Mw::replaceFile(Mw::joinPath(temp.wide(), L"round"), "x", 1, &error));
    EXPECT_FALSE(error.empty());
    EXPECT_FALSE(Mw::replaceFile(Mw::joinPath(temp.wide(), L"no/such"), "x", 1));
}

TEST(NativeFiles, aPipeIsReadInItsOwnOrderAndAFullDiskIsAFailure)
{
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    const Mw::Ptr<iFile> pipe = OS().fileMgr().openFile(TempFolder::wideOf("/dev/fd/" + std::to_string(ends[0])));
    ::close(ends[0]);
    EXPECT_EQ(pipe->getCaps(), 0u);
    // The bytes come in two parts, and one read takes both.
    std::thread writer(
        [&]
        {
            EXPECT_EQ(::write(ends[1], "first ", 6), 6);
            EXPECT_EQ(::write(ends[1], "second", 6), 6);
            ::close(ends[1]);
        });
    char text[20];
    EXPECT_EQ(pipe->read(text, 20, 0), 12);
    writer.join();
    EXPECT_EQ(std::string(text, 12), "first second");

    const Mw::Ptr<iFile> full = OS().fileMgr().openFile(L"/dev/full", iFile::eWrite);
    EXPECT_EQ(full->write("x", 1, 0), -1);
    EXPECT_FALSE(full->lastError().empty());
}

TEST(NativeFiles, applicationAndFoldersHaveDefaults)
{
    iFileMgr& files = OS().fileMgr();
    EXPECT_TRUE(files.executablePath().endsWith(L"/platform_tests"));
    EXPECT_EQ(files.getApplicationName(), L"platform_tests");
    const TempFolder temp;
    {
        const Environment relative(Environment::Values{{"TMPDIR", "relative"}});
        EXPECT_EQ(files.temporaryDirectory(), L"/tmp");
        const Environment absolute(Environment::Values{{"TMPDIR", temp.path().string()}});
        EXPECT_EQ(files.temporaryDirectory(), temp.wide());
    }
    EXPECT_EQ(Mw::directoryOf(L"/a"), L"/");
    EXPECT_EQ(Mw::directoryOf(L"a"), L".");
    EXPECT_EQ(Mw::directoryOf(L"/a//b"), L"/a");
}

// Whatever call fails, the old contents or the new ones stand, and nothing is left beside them.
TEST(ReplaceFile, isWholeWhereverTheDiskFails)
{
    MemoryFileMgr memory;
    FailingFileMgr failing(memory);
    OSReplacement<iFileMgr> replaced(failing);
    ASSERT_TRUE(Mw::replaceFile(L"/home/a", "old", 3));
    failing.failAt(0);
    ASSERT_TRUE(Mw::replaceFile(L"/home/a", "old", 3));
    const int calls = failing.calls();
    ASSERT_EQ(calls, 7); // open, mode, write, flush, close, rename, the directory's flush
    for (int call = 1; call <= calls; ++call)
    {
        put(memory, L"/home/a", "old");
        failing.failAt(call);
        LightweightString<char> error;
        EXPECT_FALSE(Mw::replaceFile(L"/home/a", "new text", 8, &error)) << call;
        EXPECT_EQ(error, "Simulated failure") << call;
        EXPECT_EQ(get(memory, L"/home/a"), call < calls ? "old" : "new text") << call;
        EXPECT_EQ(listed(memory, L"/home", L"*"), L"a ") << call;
    }
}

TEST(ReplaceFile, survivesAMachineThatStops)
{
    for (int call = 1; call <= 8; ++call)
    {
        MemoryFileMgr memory;
        FailingFileMgr failing(memory);
        OSReplacement<iFileMgr> replaced(failing);
        ASSERT_TRUE(Mw::replaceFile(L"/home/a", "old", 3));
        failing.failAt(call, FailingFileMgr::eFromThenOn);
        const bool done = Mw::replaceFile(L"/home/a", "new text", 8);
        memory.loseUnflushed();
        EXPECT_EQ(get(memory, L"/home/a"), done ? "new text" : "old") << call;
        EXPECT_EQ(done, call == 8);
    }
}

TEST(MemoryFiles, onlyWhatWasFlushedIsThereAfterAStop)
{
    MemoryFileMgr memory;
    put(memory, L"/home/unnamed", "x");
    iFileMgr& files = memory;
    const Mw::Ptr<iFile> file = files.openFile(L"/home/a", iFile::eWrite, iFile::eCreateNew);
    EXPECT_EQ(file->write("kept", 4, 0), 4);
    EXPECT_TRUE(file->flushToDisk());
    EXPECT_TRUE(memory.remove(L"/home/unnamed") && memory.syncDirectory(L"/home"));
    EXPECT_EQ(file->write("lost", 4, 0), 4);
    EXPECT_TRUE(memory.ensureDirectory(L"/home/folder"));
    EXPECT_TRUE(memory.rename(L"/home/a", L"/home/b"));
    memory.loseUnflushed();
    EXPECT_EQ(listed(memory, L"/home", L"*"), L"a folder/ ");
    EXPECT_EQ(get(memory, L"/home/a"), "kept");
}
