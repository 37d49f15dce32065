#include "misc/persistence/InputStream.h"

#include "Mw/Exception.h"
#include "platform/TempFolder.h"

#include <gtest/gtest.h>

#include <fstream>

TEST(InputStream, fileIsReadExactlyToItsEnd)
{
    const TempFolder folder;
    std::ofstream(folder.path() / "bytes") << "abcdef";
    SimpleFileInputStream in(folder.wide() + L"/bytes");
    unsigned char bytes[3] = {};
    EXPECT_EQ(in.readUChar(), 'a');
    in.skipBytes(2);
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
        EXPECT_EQ(std::string(error.message_) + error.file_ + std::to_string(error.line_), "eofmisc/inpstream99");
    }
    EXPECT_THROW(in.skipBytes(0xFFFFFFFFu), Mw::Exception::LogicError);
    in.reset();
    EXPECT_EQ(in.readUChar(), 'a');
}

TEST(InputStream, noBlockIsNotAnEmptyOne)
{
    const TempFolder folder;
    std::ofstream(folder.path() / "empty");
    SimpleFileInputStream in(LightweightString<char>((folder.path() / "empty").c_str()));
    EXPECT_TRUE(in.isValid());
    EXPECT_EQ(in.readUChars(0, nullptr), 0u);
    EXPECT_FALSE(in.open(folder.wide() + L"/none") || in.isValid());
    EXPECT_THROW(in.skipBytes(0), Mw::Exception::LogicError);
    BufferInputStream none(nullptr);
    none.skipBytes(1);
    EXPECT_TRUE(none.readUChar() == 0 && none.readUChars(1, nullptr) == 0 && !none.isValid());
}
