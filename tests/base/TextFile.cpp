#include "misc/base/TextFile.h"

#include "OS/testing/FailingFileMgr.h"
#include "OS/testing/MemoryFileMgr.h"
#include "misc/base/GrowString.h"

#include <gtest/gtest.h>

namespace
{

// The lines, each followed by a bar.
std::string textOf(const TextFile& file)
{
    std::string text;
    for (unsigned i = 0; i < file.numLines(); ++i)
        text += std::string(file[i]) + "|";
    return text;
}

class TextFileTest : public testing::Test
{
protected:
    std::string loaded(const std::string& bytes)
    {
        const Mw::Ptr<iFile> file = disk_.openFile(path_, iFile::eWrite, iFile::eCreateAlways, {}, {}, 0644);
        file->write(bytes.data(), bytes.size(), 0);
        TextFile text;
        EXPECT_TRUE(text.load(path_));
        return textOf(text);
    }
    std::string onDisk()
    {
        const Mw::Ptr<iFile> file = disk_.openFile(path_, iFile::eRead, iFile::eOpenExisting, {}, {}, 0);
        std::string bytes(file->size(), '\0');
        file->read(bytes.data(), bytes.size(), 0);
        return bytes;
    }

    const LightweightString<wchar_t> path_ = L"/home/lines.txt";
    MemoryFileMgr disk_;
    OSReplacement<iFileMgr> replaced_{disk_};
};

} // namespace

TEST_F(TextFileTest, endsOfLinesAreLeftOutInAllTheirForms)
{
    EXPECT_EQ(loaded(""), "");
    EXPECT_EQ(loaded("one\n\ntwo\n"), "one||two|");
    EXPECT_EQ(loaded("one\r\ntwo"), "one|two|");
    EXPECT_EQ(loaded("\xEF\xBB\xBFone\r\n"), "one|");
    EXPECT_EQ(loaded(std::string("a\0b\n", 4)), std::string("a\0b|", 4));
}

TEST_F(TextFileTest, savedLinesLoadAgain)
{
    TextFile file;
    for (const char* line : {"first", "", "two\nthree\r", "\n"})
        file.appendLine(line);
    EXPECT_EQ(textOf(file), "first||two|three|||");
    ASSERT_TRUE(file.save(path_));
    EXPECT_EQ(onDisk(), "first\n\ntwo\nthree\n\n\n");
    TextFile again;
    ASSERT_TRUE(again.load(path_));
    EXPECT_EQ(textOf(again), textOf(file));
}

TEST_F(TextFileTest, everyFailingCallLeavesTheOldFileOrTheNewOne)
{
    FailingFileMgr failing(disk_, FailingFileMgr::eAllCalls);
    OSReplacement<iFileMgr> replaced(failing);
    TextFile old, changed;
    old.appendLine("old");
    changed.appendLine("new");
    bool saved = false;
    for (int call = 1; !saved; ++call)
    {
        failing.failAt(0);
        ASSERT_TRUE(old.save(path_));
        failing.failAt(call);
        saved = changed.save(path_);
        disk_.loseUnflushed();
        failing.failAt(0);
        EXPECT_TRUE(onDisk() == "new\n" || (!saved && onDisk() == "old\n")) << call;
        ASSERT_LT(call, 100);
    }
    bool loaded = false;
    for (int call = 1; !loaded; ++call)
    {
        failing.failAt(call);
        TextFile read = old;
        LightweightString<char> error;
        loaded = read.load(path_, &error);
        EXPECT_EQ(textOf(read), loaded ? "new|" : "old|") << call;
        EXPECT_EQ(error.empty(), loaded) << call;
        ASSERT_LT(call, 100);
    }
}

TEST(GrowString, grownTextKeepsZerosAndItsTerminator)
{
    GrowString text("ab");
    text.append(text.view());
    text.append(std::string_view("\0c", 2));
    text.append(static_cast<const char*>(nullptr));
    EXPECT_EQ(text, std::string_view("abab\0c", 6));
    text.resize(7);
    EXPECT_EQ(text, std::string_view("abab\0c\0", 7));
    EXPECT_EQ(text.c_str()[7], '\0');
}
