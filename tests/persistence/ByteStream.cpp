#include "misc/persistence/ByteStream.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>

namespace
{

using Texts = std::initializer_list<std::pair<const char*, const char*>>;

// The same bytes in both kinds of stream: over memory and over a C file.
struct Both
{
    explicit Both(const std::string& bytes)
        : streams{ByteStream(LightweightString<char>(std::string_view(bytes))), ByteStream(file.get())}
    {
        std::fwrite(bytes.data(), 1, bytes.size(), file.get());
        std::rewind(file.get());
    }

    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file{std::tmpfile(), std::fclose};
    ByteStream streams[2];
};

// All characters up to the end.
std::string rest(ByteStream& in)
{
    std::string text;
    for (char c = in.getChar(); !in.eof(); c = in.getChar())
        text += c;
    return text;
}

} // namespace

TEST(ByteStream, commentsAreLeftOutOnlyOutsideQuotes)
{
    for (const auto& [text, read] : Texts{{"a/*b*/c//d\ne/f", "ace/f"},
                                          {"a/**/b/***/c/*/*/d", "abcd"},
                                          {"a\"/*b*/\"//c", "a\"/*b*/\""},
                                          {"/\"//\"", "/\"//\""},
                                          {"a/*b*", "a"}})
        for (Both both(text); ByteStream & in : both.streams)
        {
            in.setStripComments(true);
            EXPECT_EQ(rest(in), read);
        }
}

TEST(ByteStream, tokensEndAtUnescapedDelimiters)
{
    // A zero (%) ends a token, and is passed among delimiters.
    for (const auto& [text, found] :
         Texts{{",a", "|a|"}, {"a,; ,b,", "a|b|"}, {"a\\\\\\,b\\c,d\\", "a,bc|d|"}, {"a%b,%,c", "a|b|c|"}})
    {
        std::string bytes = text;
        std::replace(bytes.begin(), bytes.end(), '%', '\0');
        for (Both both(bytes); ByteStream & in : both.streams)
        {
            in.setDelimiters(",; ");
            in.setEscapeChar('\\');
            std::string tokens;
            for (GrowString token; !in.eof(); tokens += std::string(token.view()) + "|")
                in >> token;
            EXPECT_EQ(tokens, found);
        }
    }
}

TEST(ByteStream, numbersReadBackLowByteFirst)
{
    for (Both both("\x02\x01\x04\x03\x02\x01\x08\x07\x06\x05\x04\x03\x02\x01"); ByteStream & in : both.streams)
    {
        unsigned short two = 0;
        unsigned int four = 0;
        unsigned long eight = 0;
        in >> two >> four >> eight;
        EXPECT_TRUE(two == 0x0102 && four == 0x01020304u && eight == 0x0102030405060708ul && !in.eof());
    }
}

TEST(ByteStream, linesAreAppendedAndCharactersPutBack)
{
    for (Both both(std::string("one\ntwo\0three", 13)); ByteStream & in : both.streams)
    {
        GrowString line("+");
        for (int i = 0; i < 4; ++i, line.append('|'))
            in.getLine(line);
        EXPECT_EQ(line, "+one|two|three||");
        in.position(11);
        in.getChar();
        in.unget('x');
        EXPECT_EQ(rest(in), "xe");
    }
}

TEST(ByteStream, memoryIsChangedAtThePositionAndLinesWrapByWhatWasWritten)
{
    ByteStream stream{LightweightString<char>("abc")};
    stream.position(5);
    stream << "Y";
    EXPECT_EQ(stream.buffer(), std::string_view("abc\0\0Y", 6));
    for (const auto& [escape, wrapped] : {std::pair('\0', "abc\ndef\ngh"), {'\\', "abc\\\ndef\\\ngh"}})
    {
        stream.reset();
        stream.setLineLength(3);
        stream.setEscapeChar(escape);
        stream << "abcdefgh";
        EXPECT_EQ(stream.buffer(), wrapped);
    }
}
