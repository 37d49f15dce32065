#include "misc/persistence/StreamFile.h"

#include "OS/testing/FailingFileMgr.h"
#include "OS/testing/MemoryFileMgr.h"
#include "QuietTest.h"
#include "platform/TempFolder.h"

#include <fstream>
#include <random>
#include <sys/stat.h>

namespace
{

using Path = LightweightString<wchar_t>;

bool writeFile(const Path& path, const std::string& bytes)
{
    StreamFile file;
    if (!file.open(path, iFile::eCreateAlways))
        return false;
    file.write(bytes.data(), static_cast<unsigned>(bytes.size()));
    return file.flush();
}

std::string readFile(const Path& path)
{
    StreamFile file;
    if (!file.open(path, iFile::eOpenExisting))
        return "(none)";
    std::string bytes(file.size(), '\0');
    file.readBinary(reinterpret_cast<unsigned char*>(bytes.data()), static_cast<unsigned>(bytes.size()), true);
    return bytes;
}

class StreamFileTest : public QuietTest
{
protected:
    std::filesystem::path file() const { return folder_.path() / "objects"; }
    Path path() const { return TempFolder::wideOf(file()); }
    std::filesystem::path beside() const { return folder_.path() / "objects.TMP"; }
    bool tmpExists() const { return std::filesystem::exists(beside()); }

    const TempFolder folder_;
};

struct stat statusOf(const std::string& name)
{
    struct stat info = {};
    ::stat(name.c_str(), &info);
    return info;
}

} // namespace

// Random reads, writes and moves beside a plain text, over files larger than the cache: a file that is
// changed, and one that is made anew behind the cache.
TEST_F(StreamFileTest, behavesLikeTheBytesOfTheFile)
{
    std::mt19937 random(7);
    const auto below = [&](std::size_t end) { return random() % end; };
    std::string model(400000, '\0');
    for (char& c : model)
        c = static_cast<char>('a' + below(26));
    ASSERT_TRUE(writeFile(path(), model));
    GrowString text; // longer than the cache, and without its end
    StreamFile whole;
    EXPECT_TRUE(whole.open(path(), iFile::eOpenExisting) && whole.readBinary(text, false) && text == model);
    for (int round = 0; round < 12; ++round)
    {
        const bool created = round % 2 == 1;
        StreamFile file;
        ASSERT_TRUE(file.open(path(), created ? iFile::eCreateAlways : iFile::eOpenExisting)) << file.lastError();
        if (created)
            model.clear();
        std::size_t place = 0;
        for (int step = 0; step < 400; ++step)
        {
            if (below(3) == 0)
            {
                const std::size_t target = below(model.size() + 1000);
                place = std::min(target, model.size());
                file.setPosition(target);
            }
            if (below(4) == 0)
                file.cacheForward(place + below(300000));
            std::string bytes(below(below(10) == 0 ? 200000 : 600), static_cast<char>('A' + below(26)));
            const auto length = static_cast<unsigned>(bytes.size());
            if ((created || (round % 4 == 2 && step > 200)) && below(2) == 0)
            {
                file.write(bytes.data(), length);
                model.replace(place, length, bytes);
            }
            else
            {
                file.readBinary(reinterpret_cast<unsigned char*>(bytes.data()), length, true);
                bytes.resize(std::min(bytes.size(), model.size() - place));
                ASSERT_EQ(bytes, model.substr(place, length)) << step;
            }
            place += bytes.size();
            ASSERT_EQ(file.position(), place);
            ASSERT_EQ(file.eof(), place == model.size());
            ASSERT_EQ(file.size(), model.size());
        }
        ASSERT_TRUE(file.flush());
        ASSERT_EQ(readFile(path()), model);
        ASSERT_LT(statusOf(this->file()).st_blocks * 512, long(model.size()) + 256 * 1024); // no room is kept
    }
}

TEST_F(StreamFileTest, fileIsReplacedOnlyByFlush)
{
    ASSERT_TRUE(writeFile(path(), "old"));
    {
        StreamFile file;
        ASSERT_TRUE(file.open(path(), iFile::eCreateAlways));
        file.setLong(1);
        EXPECT_TRUE(tmpExists());
    }
    EXPECT_FALSE(tmpExists());

    // What an open file reads stays what it was, and a flush may be followed by more.
    StreamFile reader, writer;
    ASSERT_TRUE(reader.open(path(), iFile::eOpenExisting) && writer.open(path(), iFile::eOpenExisting));
    writer.write("new and longer", 14);
    EXPECT_TRUE(readFile(path()) == "old" && writer.flush() && !tmpExists());
    writer.setPosition(0);
    writer.write("N", 1);
    EXPECT_TRUE(readFile(path()) == "new and longer" && writer.flush());
    EXPECT_EQ(readFile(path()), "New and longer");
    GrowString text;
    EXPECT_TRUE(reader.readBinary(text, false) && text == "old");
}

TEST_F(StreamFileTest, openingFollowsTheBehaviourAskedFor)
{
    StreamFile file;
    EXPECT_FALSE(file.open(path(), iFile::eOpenExisting));
    EXPECT_FALSE(file.lastError().empty());
    EXPECT_TRUE(file.open(path(), iFile::eOpenAlways) && file.flush());
    EXPECT_EQ(readFile(path()), "");
    EXPECT_FALSE(file.open(path(), iFile::eCreateNew));
    EXPECT_FALSE(file.open(folder_.wide(), iFile::eCreateAlways));
    EXPECT_FALSE(file.open(path() + L"/below", iFile::eCreateAlways));
    EXPECT_FALSE(tmpExists() || file.isOpen() || file.flush());

    // What came to be there meanwhile was not read, and is not written over.
    std::filesystem::remove(this->file());
    EXPECT_TRUE(file.open(path(), iFile::eOpenAlways) && writeFile(path(), "theirs"));
    EXPECT_FALSE(file.flush());
    EXPECT_EQ(readFile(path()), "theirs");
}

TEST_F(StreamFileTest, linkAndPermissionsAreKept)
{
    std::filesystem::create_directory(folder_.path() / "there");
    const std::filesystem::path target = folder_.path() / "there" / "target";
    const auto modeOf = [](const std::string& name) { return statusOf(name).st_mode & 07777u; };
    ASSERT_TRUE(writeFile(TempFolder::wideOf(target), "old"));
    std::filesystem::create_symlink("there/target", this->file());
    for (const unsigned mode : {0640u, 0600u, 0400u, 0666u})
    {
        ::chmod(target.c_str(), mode);
        StreamFile file;
        ASSERT_TRUE(file.open(path(), iFile::eCreateAlways));
        EXPECT_EQ(modeOf(target.string() + ".TMP"), mode) << "also before the first byte";
        file.write("new", 3);
        ASSERT_TRUE(file.flush());
        EXPECT_TRUE(std::filesystem::is_symlink(this->file()));
        EXPECT_EQ(readFile(TempFolder::wideOf(target)), "new");
        EXPECT_EQ(modeOf(target), mode);
    }
}

TEST_F(StreamFileTest, ofTwoWritersOneComesThrough)
{
    StreamFile first, second, third;
    ASSERT_TRUE(first.open(path(), iFile::eCreateAlways));
    first.write("first", 5);
    EXPECT_FALSE(writeFile(path(), "second") || second.open(path(), iFile::eCreateAlways));
    EXPECT_STREQ(second.lastError().c_str(), "another writer is at it");
    EXPECT_TRUE(first.flush() && readFile(path()) == "first");

    // What a dead one left is no obstacle, also where it can only be read.
    std::ofstream(beside()) << "half";
    std::filesystem::permissions(beside(), std::filesystem::perms::owner_read);
    EXPECT_TRUE(writeFile(path(), "new") && readFile(path()) == "new" && !tmpExists());

    // Without locks that of a living one looks the same, but this one does not put it in place then.
    FailingFileMgr files;
    const OSReplacement<iFileMgr> replaced(files);
    files.setWithoutLocks(true);
    EXPECT_TRUE(second.open(path(), iFile::eCreateAlways) && third.open(path(), iFile::eCreateAlways));
    third.write("third", 5);
    EXPECT_FALSE(second.flush());
    EXPECT_STREQ(second.lastError().c_str(), "another writer is at it");
    EXPECT_TRUE(third.flush() && readFile(path()) == "third" && said() != "");
    EXPECT_TRUE(writeFile(path(), "fourth"));
    EXPECT_EQ(said(), ""); // once is enough
}

TEST_F(StreamFileTest, everyFailingCallLeavesTheOldFileOrTheNewOne)
{
    MemoryFileMgr disk;
    FailingFileMgr failing(disk, FailingFileMgr::eAllCalls);
    const OSReplacement<iFileMgr> replaced(failing);
    const Path name = L"/home/objects";
    const std::string contents(600000, 'n'); // more than is kept back from the file beside
    for (const auto behaviour : {iFile::eCreateAlways, iFile::eOpenExisting, iFile::eOpenAlways})
        for (const auto afterwards : {FailingFileMgr::eOnce, FailingFileMgr::eFromThenOn})
        {
            bool written = false;
            for (int call = 1; !written; ++call)
            {
                failing.failAt(0);
                ASSERT_TRUE(writeFile(name, "old"));
                said();
                failing.failAt(call, afterwards);
                StreamFile file;
                const bool opened = file.open(name, behaviour);
                file.write(contents.data(), static_cast<unsigned>(contents.size()));
                written = opened && file.flush();
                EXPECT_EQ(written, file.lastError().empty());
                EXPECT_EQ(opened && !written, !said().empty());
                failing.failAt(0);
                EXPECT_EQ(file.flush(), written); // which is not tried again on what may be lost
                for (const bool machineStopped : {false, true})
                {
                    if (machineStopped)
                        disk.loseUnflushed();
                    const std::string found = readFile(name);
                    EXPECT_TRUE(found == contents || (!written && found == "old")) << call;
                }
                ASSERT_LT(call, 100);
            }
        }
}
