#include "misc/persistence/InputStream.h"

#include "Mw/Exception.h"
#include "OS/testing/FailingFileMgr.h"
#include "platform/TempFolder.h"

#include <gtest/gtest.h>

#include <fstream>

TEST(InputStream, fileIsReadExactlyToItsEnd)
{
    const TempFolder folder;
    std::ofstream(folder.path() / "bytes") << "abcdef";
    SimpleFileInputStream in(LightweightString<char>((folder.path() / "bytes").c_str()));
    unsigned char bytes[3] = {};
    in.skipBytes(3);
    EXPECT_EQ(in.readUChars(3, bytes), 3u);
    EXPECT_EQ(bytes[2], 'f');
    in.skipBytes(0);
    try
    {
        in.readUChar();
        ADD_FAILURE();
    }
    catch (const Mw::Exception::LogicError& error)
    {
        EXPECT_EQ(std::string(error.message_) + error.file_, "eofmisc/inpstream");
    }
    EXPECT_THROW(in.skipBytes(0xFFFFFFFFu), Mw::Exception::LogicError);
    in.reset();
    EXPECT_EQ(in.readUChar(), 'a');
}

TEST(InputStream, noBlockIsNotAnEmptyOne)
{
    const TempFolder folder;
    std::ofstream(folder.path() / "empty");
    FailingFileMgr files(OS().fileMgr(), FailingFileMgr::eAllCalls);
    const OSReplacement<iFileMgr> replaced(files);
    SimpleFileInputStream in;
    // Also where its size can't be told: at any call that fails.
    int calls = 1;
    for (files.failAt(calls); !in.open(folder.wide() + L"/empty"); files.failAt(++calls))
        EXPECT_FALSE(in.isValid());
    EXPECT_GT(calls, 3);
    EXPECT_TRUE(in.isValid() && in.readUChars(0, nullptr) == 0);
    EXPECT_FALSE(in.open(folder.wide() + L"/none") || in.isValid());
    EXPECT_THROW(in.skipBytes(0), Mw::Exception::LogicError);
    BufferInputStream none(nullptr);
    none.skipBytes(1);
    EXPECT_TRUE(none.readUChar() == 0 && none.readUChars(1, nullptr) == 0 && !none.isValid());
}
