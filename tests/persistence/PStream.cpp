#include "misc/persistence/PStream.h"

#include "StoredObjects.h"

#include <string>

using PStreamTest = stored::StoredObjects;

// The bytes that docs/formats.md shows, and a raw one.
TEST_F(PStreamTest, primitivesAreLittleEndianInTheirOwnWidth)
{
    file_.setCookedChar('A');
    file_.setShort(-2);
    file_.setUnsignedShort(0x1234);
    file_.setLong(-3);
    file_.setUnsignedLong(1000000);
    file_.setFloat(1.5f);
    file_.setInt64(-4);
    file_.setUnsignedInt64(0x0102030405060708ul);
    file_.setDouble(25.0);
    stream_ << "take 7";
    stream_.writeBinary(reinterpret_cast<const unsigned char*>("reel"), 0, true);
    stream_.writeBinary(reinterpret_cast<const unsigned char*>("7even"), 1, false, true);
    const std::string expected("\x41\xFE\xFF\x34\x12\xFD\xFF\xFF\xFF\x40\x42\x0F\x00\x00\x00\xC0\x3F"
                               "\xFC\xFF\xFF\xFF\xFF\xFF\xFF\xFF\x08\x07\x06\x05\x04\x03\x02\x01"
                               "\x00\x00\x00\x00\x00\x00\x39\x40"
                               "take 7\0\x04\x00\x00\x00reel7",
                               57);
    EXPECT_EQ(written(), expected);

    file_.setPosition(48);
    GrowString counted;
    EXPECT_TRUE(file_.readBinary(counted, true) && counted == "reel");
}

TEST_F(PStreamTest, endOfFileCutsNumbersTextsAndBlocks)
{
    unsigned number = 17;
    LightweightString<char> text;
    put("abc");
    stream_ >> number;
    EXPECT_TRUE(number == 17u && file_.eof());
    put("abc");
    stream_ >> text;
    EXPECT_TRUE(text == "abc" && file_.eof());

    // What is there of a counted text, whatever it claims; without a whole count, nothing.
    for (const auto& [stored, found] :
         {std::pair(std::string("\377\377\377\377ab"), "+ab"), std::pair(std::string("\x03\0", 2), "+")})
    {
        GrowString counted("+");
        put(stored);
        EXPECT_TRUE(file_.readBinary(counted, true) && counted == found && file_.eof());
    }
    // A block of another length is refused behind its length.
    unsigned char block[4] = {};
    put(std::string("\3\0\0\0abc", 7));
    EXPECT_FALSE(file_.readBinary(block, 4, false));
    EXPECT_TRUE(said().starts_with("assertion failed false at") && file_.position() == 4);
    file_.setPosition(0);
    EXPECT_TRUE(file_.readBinary(block, 3, false) && !file_.readBinary(block, 4, true));
}
