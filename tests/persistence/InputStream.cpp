#include "misc/persistence/InputStream.h"

#include "Mw/Exception.h"
#include "platform/TempFolder.h"

#include <gtest/gtest.h>

#include <fstream>

TEST(InputStream, fileIsReadExactlyToItsEnd)
{
    const TempFolder folder;
    std::ofstream(folder.path() / "bytes") << "abcdef";
    SimpleFileInputStream in(TempFolder::wideOf(folder.path() / "bytes"));
    ASSERT_TRUE(in.isValid());
    unsigned char bytes[3];
    EXPECT_EQ(in.readUChar(), 'a');
    in.skipBytes(2);
    EXPECT_EQ(in.readUChars(3, bytes), 3u);
    EXPECT_EQ(bytes[2], 'f');
    try
    {
        in.skipBytes(0);
        in.readUChar();
        ADD_FAILURE();
    }
    catch (const Mw::Exception::LogicError& error)
    {
        EXPECT_STREQ(error.message_, "eof");
        EXPECT_STREQ(error.file_, "misc/inpstream");
        EXPECT_EQ(error.line_, 99);
    }
    EXPECT_THROW(in.skipBytes(0xFFFFFFFFu), Mw::Exception::LogicError);
    in.reset();
    EXPECT_EQ(in.readUChar(), 'a');
}

TEST(InputStream, missingAndEmptyFilesDiffer)
{
    const TempFolder folder;
    std::ofstream(folder.path() / "empty");
    SimpleFileInputStream in(LightweightString<char>((folder.path() / "empty").c_str()));
    EXPECT_TRUE(in.isValid());
    EXPECT_EQ(in.readUChars(0, nullptr), 0u);
    EXPECT_FALSE(in.open(TempFolder::wideOf(folder.path() / "none")));
    EXPECT_FALSE(in.isValid());
    EXPECT_THROW(in.skipBytes(0), Mw::Exception::LogicError);
}

TEST(InputStream, nullBufferReadsAsNothing)
{
    BufferInputStream none(nullptr);
    none.skipBytes(1);
    unsigned char byte = 7;
    EXPECT_EQ(none.readUChar(), 0);
    EXPECT_EQ(none.readUChars(1, &byte), 0u);
    EXPECT_FALSE(none.isValid());
}
