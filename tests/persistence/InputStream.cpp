#include "misc/persistence/InputStream.h"

#include "Mw/Exception.h"
#include "OS/testing/FailingFileMgr.h"
#include "OS/testing/MemoryFileMgr.h"

#include <gtest/gtest.h>

TEST(InputStream, fileIsReadExactlyToItsEnd)
{
    MemoryFileMgr disk;
    FailingFileMgr files(disk, FailingFileMgr::eAllCalls);
    const OSReplacement<iFileMgr> replaced(files);
    ASSERT_TRUE(Mw::replaceFile(L"/tmp/bytes", "abcdef", 6) && Mw::replaceFile(L"/tmp/empty", "", 0));
    SimpleFileInputStream in(LightweightString<char>("/tmp/bytes"));
    unsigned char bytes[3] = {};
    in.skipBytes(3);
    EXPECT_TRUE(in.readUChars(3, bytes) == 3 && bytes[2] == 'f');
    in.skipBytes(0);
    EXPECT_THROW(in.readUChar(), Mw::Exception::LogicError);
    EXPECT_THROW(in.skipBytes(0xFFFFFFFFu), Mw::Exception::LogicError);
    in.reset();
    EXPECT_EQ(in.readUChar(), 'a');

    // No block is not an empty one, also where its size can't be told: at any call that fails.
    int calls = 1;
    for (files.failAt(calls); !in.open(L"/tmp/empty"); files.failAt(++calls))
        EXPECT_FALSE(in.isValid());
    EXPECT_TRUE(calls > 3 && in.isValid() && in.readUChars(0, nullptr) == 0);
    EXPECT_FALSE(in.open(L"/tmp/none") || in.isValid());
    BufferInputStream none(nullptr);
    none.skipBytes(1);
    EXPECT_TRUE(none.readUChar() == 0 && none.readUChars(1, nullptr) == 0 && !none.isValid());
}
