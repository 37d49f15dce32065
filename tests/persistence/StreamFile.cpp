#include "misc/persistence/StreamFile.h"

#include "OS/testing/FailingFileMgr.h"
#include "OS/testing/MemoryFileMgr.h"
#include "QuietTest.h"
#include "platform/TempFolder.h"

#include <fstream>
#include <random>

namespace
{

using Path = LightweightString<wchar_t>;

bool writeFile(const Path& path, const std::string& bytes)
{
    StreamFile file;
    const bool opened = file.open(path, iFile::eCreateAlways);
    file.write(bytes.data(), static_cast<unsigned>(bytes.size()));
    return opened && file.flush();
}

class StreamFileTest : public QuietTest
{
protected:
    std::filesystem::path file() const { return folder_.path() / "objects"; }
    Path path() const { return TempFolder::wideOf(file()); }
    bool tmpExists() const { return std::filesystem::exists(folder_.path() / "objects.TMP"); }

    const TempFolder folder_;
};

} // namespace

// Random reads, writes and moves beside a plain text, over files larger than the cache, changed or made anew.
TEST_F(StreamFileTest, behavesLikeTheBytesOfTheFile)
{
    std::mt19937 random(7);
    const auto below = [&](std::size_t end) { return random() % end; };
    std::string model(400000, '\0');
    for (char& c : model)
        c = static_cast<char>('a' + below(26));
    ASSERT_TRUE(writeFile(path(), model));
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
                file.setPosition(place = below(model.size() + 1));
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
            ASSERT_TRUE(file.position() == place && file.size() == model.size());
            ASSERT_EQ(file.eof(), place == model.size());
        }
        ASSERT_TRUE(file.flush());
        ASSERT_EQ(fileBytes(path()), model);
    }
}

TEST_F(StreamFileTest, fileIsReplacedOnlyByFlush)
{
    ASSERT_TRUE(writeFile(path(), "old"));
    {
        StreamFile file;
        ASSERT_TRUE(file.open(path(), iFile::eCreateAlways));
        file.setLong(1);
    }
    // What an open file reads stays what it was, and a flush may be followed by more.
    StreamFile reader, writer;
    ASSERT_TRUE(reader.open(path(), iFile::eOpenExisting) && writer.open(path(), iFile::eOpenExisting));
    writer.write("new and longer", 14);
    EXPECT_TRUE(fileBytes(path()) == "old" && writer.flush() && !tmpExists());
    writer.setPosition(0);
    writer.write("N", 1);
    EXPECT_TRUE(fileBytes(path()) == "new and longer" && writer.flush());
    EXPECT_EQ(fileBytes(path()), "New and longer");
    GrowString text;
    EXPECT_TRUE(reader.readBinary(text, false) && text == "old");
}

TEST_F(StreamFileTest, openingFollowsTheBehaviourAskedFor)
{
    StreamFile file;
    EXPECT_FALSE(file.open(path(), iFile::eOpenExisting) || file.lastError().empty());
    EXPECT_TRUE(file.open(path(), iFile::eOpenAlways) && file.flush());
    EXPECT_FALSE(file.open(path(), iFile::eCreateNew) || file.open(folder_.wide(), iFile::eCreateAlways));
    EXPECT_FALSE(tmpExists() || file.flush());
    // What came to be there meanwhile was not read, and is not written over.
    std::filesystem::remove(this->file());
    EXPECT_TRUE(file.open(path(), iFile::eOpenAlways) && writeFile(path(), "theirs"));
    EXPECT_TRUE(!file.flush() && fileBytes(path()) == "theirs");
}

TEST_F(StreamFileTest, linkAndPermissionsAreKept)
{
    const std::string target = folder_.path() / "target";
    const auto modeOf = [](const std::string& name) { return unsigned(std::filesystem::status(name).permissions()); };
    ASSERT_TRUE(writeFile(TempFolder::wideOf(target), "old"));
    std::filesystem::create_symlink("target", this->file());
    for (const unsigned mode : {0640u, 0400u, 0666u})
    {
        std::filesystem::permissions(target, std::filesystem::perms(mode));
        StreamFile file;
        ASSERT_TRUE(file.open(path(), iFile::eCreateAlways));
        EXPECT_EQ(modeOf(target + ".TMP"), mode) << "also before the first byte";
        ASSERT_TRUE(file.flush());
        EXPECT_TRUE(std::filesystem::is_symlink(this->file()) && fileBytes(TempFolder::wideOf(target)) == "");
        EXPECT_EQ(modeOf(target), mode);
    }
}

TEST_F(StreamFileTest, ofTwoWritersOneComesThrough)
{
    StreamFile first, second, third;
    ASSERT_TRUE(first.open(path(), iFile::eCreateAlways));
    first.write("first", 5);
    EXPECT_FALSE(second.open(path(), iFile::eCreateAlways));
    EXPECT_STREQ(second.lastError().c_str(), "another writer is at it");
    EXPECT_TRUE(first.flush() && fileBytes(path()) == "first");

    // What a dead one left is no obstacle, also where it can only be read.
    const std::filesystem::path beside = folder_.path() / "objects.TMP";
    std::ofstream(beside) << "half";
    std::filesystem::permissions(beside, std::filesystem::perms::owner_read);
    EXPECT_TRUE(writeFile(path(), "new") && fileBytes(path()) == "new" && !tmpExists());

    // Without locks that of a living one looks the same, but this one does not put it in place then.
    FailingFileMgr files;
    const OSReplacement<iFileMgr> replaced(files);
    files.setWithoutLocks(true);
    EXPECT_TRUE(second.open(path(), iFile::eCreateAlways) && third.open(path(), iFile::eCreateAlways));
    third.write("third", 5);
    EXPECT_FALSE(second.flush());
    EXPECT_TRUE(third.flush() && fileBytes(path()) == "third");
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
                ASSERT_TRUE(call < 100 && writeFile(name, "old"));
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
                std::string found = fileBytes(name);
                EXPECT_TRUE(found == contents || (!written && found == "old")) << call;
                disk.loseUnflushed();
                found = fileBytes(name);
                EXPECT_TRUE(found == contents || (!written && found == "old")) << call;
            }
        }
}
