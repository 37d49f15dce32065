#include "misc/base/ByteBufferImpl.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace
{

std::string stored(const std::string& contents)
{
    const ByteBuffer block = ByteBufferImpl(contents.data(), contents.size()).compressed();
    return std::string(reinterpret_cast<const char*>(block->data()), block->length());
}

// The contents, or the error in angle brackets.
std::string restored(const std::string& block)
{
    LightweightString<char> error;
    const ByteBuffer contents = ByteBufferImpl::restored(block.data(), block.size(), &error);
    EXPECT_EQ(error.empty(), static_cast<bool>(contents));
    return contents ? std::string(reinterpret_cast<const char*>(contents->data()), contents->length())
                    : "<" + std::string(error.c_str()) + ">";
}

} // namespace

TEST(ByteBuffer, compressedBlockRestoresWhatWasStored)
{
    std::mt19937 random(1);
    std::string noise(70000, '\0');
    for (char& c : noise)
        c = static_cast<char>(random());
    for (const std::string& contents : {std::string(), std::string("x"), std::string(1 << 20, 'a'), noise})
        EXPECT_EQ(restored(stored(contents)), contents);
    EXPECT_LT(stored(std::string(1 << 20, 'a')).size(), 2000u);
}

// The block that docs/formats.md shows.
TEST(ByteBuffer, storedFormIsLengthAndZlibStream)
{
    const std::string block("\x0a\0\0\0\0\0\0\0\x78\x9c\x4b\x4c\x84\x01\x00\x14\xe1\x03\xcb", 19);
    EXPECT_EQ(restored(block), "aaaaaaaaaa");
    EXPECT_EQ(stored("aaaaaaaaaa").substr(0, 10), block.substr(0, 10));
}

TEST(ByteBuffer, damagedOrCutBlockGivesNothing)
{
    const std::string contents = "harbour at dawn, harbour at noon, harbour at night";
    const std::string block = stored(contents);
    for (std::size_t length = 0; length < block.size(); ++length)
        EXPECT_EQ(restored(block.substr(0, length)).front(), '<') << length;
    EXPECT_EQ(restored(block + "x"), "<Compressed block is followed by other bytes>");
    // A changed bit is found, or it is one that carries nothing.
    for (std::size_t bit = 0; bit < 8 * block.size(); ++bit)
    {
        std::string changed = block;
        changed[bit / 8] = static_cast<char>(changed[bit / 8] ^ 1 << bit % 8);
        const std::string result = restored(changed);
        EXPECT_TRUE(result == contents || result.front() == '<') << bit;
    }
}

TEST(ByteBuffer, blockThatLiesAboutItsSizeGivesNothing)
{
    std::string block = stored("aaaaaaaaaa");
    block[0] = 9;
    EXPECT_EQ(restored(block), "<Compressed block holds more than it declares>");
    block[0] = 11;
    EXPECT_EQ(restored(block), "<Compressed block holds less than it declares>");
    block[7] = 0x7f;
    EXPECT_EQ(restored(block), "<Compressed block declares more than it can hold>");
}
