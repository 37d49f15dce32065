#include "misc/persistence/ByteStream.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>

namespace
{

// The same for both kinds of stream: over memory and over a C file that holds the bytes.
void onBoth(const std::string& bytes, const std::function<void(ByteStream&)>& check)
{
    GrowString text{std::string_view(bytes)};
    ByteStream memory(text);
    EXPECT_TRUE(text.empty());
    check(memory);
    std::FILE* const file = std::tmpfile();
    ASSERT_NE(file, nullptr);
    std::fwrite(bytes.data(), 1, bytes.size(), file);
    std::rewind(file);
    {
        ByteStream stream(file);
        check(stream);
    }
    std::fclose(file);
}

// All characters up to the end.
std::string rest(ByteStream& in)
{
    std::string text;
    for (char c = in.getChar(); !in.eof(); c = in.getChar())
        text += c;
    return text;
}

// The tokens, each followed by a bar.
std::string tokens(ByteStream& in)
{
    std::string text;
    GrowString token;
    while (!in.eof())
    {
        in >> token;
        text += std::string(token.view()) + "|";
    }
    return text;
}

std::string wrapped(unsigned lineLength, char escape, const char* text)
{
    ByteStream out{LightweightString<char>()};
    out.setLineLength(lineLength);
    out.setEscapeChar(escape);
    out << text;
    EXPECT_EQ(out.bytesWritten(), out.buffer().length());
    return out.buffer().c_str();
}

} // namespace

TEST(ByteStream, commentsAreLeftOutOnlyOutsideQuotes)
{
    const struct
    {
        const char* text;
        const char* read;
    } cases[] = {
        {"a/*b*/c", "ac"},
        {"a//b\nc", "ac"},
        {"a/b", "a/b"},
        {"a/**/b/***/c/*/*/d", "abcd"},
        {"a\"/*b*/\"//c", "a\"/*b*/\""},
        {"a\"//b\"/*c*/d", "a\"//b\"d"},
        {"/\"//\"", "/\"//\""},
        {"//a\n//b\n/*c*/d", "d"},
        {"a/*b", "a"},
        {"a/*b*", "a"},
        {"a//b", "a"},
    };
    for (const auto& c : cases)
        onBoth(c.text,
               [&](ByteStream& in)
               {
                   in.setStripComments(true);
                   EXPECT_EQ(rest(in), c.read) << c.text;
               });
    onBoth("a/*b*/c", [](ByteStream& in) { EXPECT_EQ(rest(in), "a/*b*/c"); });
}

TEST(ByteStream, tokensEndAtUnescapedDelimiters)
{
    const struct
    {
        const char* text;
        const char* tokens;
    } cases[] = {
        {"a,b", "a|b|"}, {",a", "|a|"}, {"a,; ,b,", "a|b|"}, {"a\\,b,c", "a,b|c|"}, {"a\\\\\\,b\\c,d\\", "a,bc|d|"},
    };
    for (const auto& c : cases)
        onBoth(c.text,
               [&](ByteStream& in)
               {
                   in.setDelimiters(",; ");
                   in.setEscapeChar('\\');
                   EXPECT_EQ(tokens(in), c.tokens) << c.text;
               });
    // A zero ends a token, and is passed among delimiters.
    onBoth(std::string("a\0b,\0,c", 7),
           [](ByteStream& in)
           {
               in.setDelimiters(",");
               EXPECT_EQ(tokens(in), "a|b|c|");
           });
}

TEST(ByteStream, linesWrapByWhatWasWritten)
{
    EXPECT_EQ(wrapped(3, 0, "abcdefgh"), "abc\ndef\ngh");
    EXPECT_EQ(wrapped(3, '\\', "abcdefgh"), "abc\\\ndef\\\ngh");
    EXPECT_EQ(wrapped(0xFFFFFFFFu, 0, "abc"), "abc");
    EXPECT_EQ(wrapped(0, '\\', "abc"), "abc");
}

TEST(ByteStream, numbersReadBackLowByteFirst)
{
    onBoth("\x02\x01\x04\x03\x02\x01\x08\x07\x06\x05\x04\x03\x02\x01\x7f",
           [](ByteStream& in)
           {
               unsigned short two;
               unsigned int four;
               unsigned long eight;
               in >> two >> four >> eight;
               EXPECT_EQ(two, 0x0102);
               EXPECT_EQ(four, 0x01020304u);
               EXPECT_EQ(eight, 0x0102030405060708ul);
               EXPECT_FALSE(in.eof());
               in >> two; // the end cuts it
               EXPECT_EQ(two, 0x7f);
               EXPECT_TRUE(in.eof());
           });
    ByteStream stream{LightweightString<char>()};
    stream << -1234.5625;
    stream.position(0);
    double value;
    stream >> value;
    EXPECT_EQ(value, -1234.5625);
}

TEST(ByteStream, linesAreAppendedUpToLineFeedOrZero)
{
    onBoth(std::string("one\ntwo\0three", 13),
           [](ByteStream& in)
           {
               GrowString line("+");
               for (int i = 0; i < 4; ++i, line.append('|'))
                   in.getLine(line);
               EXPECT_EQ(line, "+one|two|three||");
           });
}

TEST(ByteStream, characterPutBackIsReadNext)
{
    onBoth("abc",
           [](ByteStream& in)
           {
               in.getChar();
               in.unget('x');
               EXPECT_EQ(rest(in), "xbc");
               in.unget('y'); // after the end: nothing
               EXPECT_EQ(in.getChar(), '\0');
               in.position(1);
               EXPECT_FALSE(in.eof());
               EXPECT_EQ(rest(in), "bc");
           });
    ByteStream memory{LightweightString<char>("abc")};
    memory.unget('?'); // at the start: nothing
    EXPECT_EQ(memory.getChar(), 'a');
    memory.unget('x');
    EXPECT_EQ(memory.buffer(), "xbc");
}

TEST(ByteStream, memoryIsWrittenAtThePosition)
{
    ByteStream stream{LightweightString<char>("abc")};
    stream.position(1);
    stream << "X";
    stream.position(5);
    stream << "Y";
    EXPECT_EQ(stream.buffer(), std::string_view("aXc\0\0Y", 6));
}

TEST(ByteStream, resetKeepsAnOpenQuoteAndInitClosesIt)
{
    for (const bool init : {false, true})
    {
        ByteStream stream{LightweightString<char>("\"")};
        stream.getChar();
        init ? stream.init() : stream.reset();
        EXPECT_EQ(stream.userValue(), -1);
        stream << "//a";
        stream.position(0);
        stream.setStripComments(true);
        EXPECT_EQ(rest(stream), init ? "" : "//a");
    }
}

TEST(ByteStream, fileIsFlushedAndStaysOpen)
{
    std::FILE* const file = std::tmpfile();
    ASSERT_NE(file, nullptr);
    {
        ByteStream stream(file);
        stream << "abc";
        stream.position(1);
        EXPECT_EQ(stream.getChar(), 'b');
    }
    EXPECT_EQ(std::ftell(file), 2);
    std::fclose(file);
}
