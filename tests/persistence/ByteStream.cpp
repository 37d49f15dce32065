#include "misc/persistence/ByteStream.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <tuple>

namespace
{

using Texts = std::initializer_list<std::pair<const char*, const char*>>;

// The same for both kinds of stream: over memory and over a C file.
class ByteStreams : public testing::TestWithParam<bool>
{
protected:
    // A stream over the bytes, until the next one.
    ByteStream& over(const std::string& bytes)
    {
        stream_.reset();
        file_.reset(std::tmpfile());
        std::fwrite(bytes.data(), 1, bytes.size(), file_.get());
        std::rewind(file_.get());
        GrowString text{std::string_view(bytes)};
        stream_ = GetParam() ? std::make_unique<ByteStream>(file_.get()) : std::make_unique<ByteStream>(text);
        return *stream_;
    }
    // All characters up to the end.
    static std::string rest(ByteStream& in)
    {
        std::string text;
        for (char c = in.getChar(); !in.eof(); c = in.getChar())
            text += c;
        return text;
    }

    std::unique_ptr<std::FILE, int (*)(std::FILE*)> file_{nullptr, std::fclose};
    std::unique_ptr<ByteStream> stream_; // goes before its file
};

INSTANTIATE_TEST_SUITE_P(, ByteStreams, testing::Bool());

} // namespace

TEST_P(ByteStreams, commentsAreLeftOutOnlyOutsideQuotes)
{
    for (const auto& [text, read] : Texts{{"a/*b*/c//d\ne/f", "ace/f"},
                                          {"a/**/b/***/c/*/*/d", "abcd"},
                                          {"a\"/*b*/\"//c", "a\"/*b*/\""},
                                          {"/\"//\"", "/\"//\""},
                                          {"a/*b*", "a"},
                                          {"a//b", "a"}})
    {
        over(text).setStripComments(true);
        EXPECT_EQ(rest(*stream_), read) << text;
    }
    EXPECT_EQ(rest(over("a/*b*/c")), "a/*b*/c");
}

TEST_P(ByteStreams, tokensEndAtUnescapedDelimiters)
{
    // A zero (%) ends a token, and is passed among delimiters.
    for (const auto& [text, found] : Texts{{",a", "|a|"},
                                           {"a,; ,b,", "a|b|"},
                                           {"a\\,b,c", "a,b|c|"},
                                           {"a\\\\\\,b\\c,d\\", "a,bc|d|"},
                                           {"a%b,%,c", "a|b|c|"}})
    {
        std::string bytes = text, tokens;
        std::replace(bytes.begin(), bytes.end(), '%', '\0');
        ByteStream& in = over(bytes);
        in.setDelimiters(",; ");
        in.setEscapeChar('\\');
        for (GrowString token; !in.eof(); tokens += std::string(token.view()) + "|")
            in >> token;
        EXPECT_EQ(tokens, found) << text;
    }
}

TEST_P(ByteStreams, numbersReadBackLowByteFirst)
{
    ByteStream& in = over("\x02\x01\x04\x03\x02\x01\x08\x07\x06\x05\x04\x03\x02\x01\x7f");
    unsigned short two = 0;
    unsigned int four = 0;
    unsigned long eight = 0;
    in >> two >> four >> eight;
    EXPECT_TRUE(two == 0x0102 && four == 0x01020304u && eight == 0x0102030405060708ul && !in.eof());
    in >> two; // the end cuts it
    EXPECT_TRUE(two == 0x7f && in.eof());
    double value = 0;
    over("") << -1234.5625;
    stream_->position(0);
    *stream_ >> value;
    EXPECT_EQ(value, -1234.5625);
}

TEST_P(ByteStreams, linesAreAppendedAndCharactersPutBack)
{
    ByteStream& in = over(std::string("one\ntwo\0three", 13));
    GrowString line("+");
    for (int i = 0; i < 4; ++i, line.append('|'))
        in.getLine(line);
    EXPECT_EQ(line, "+one|two|three||");
    in.unget('y'); // after the end: nothing
    EXPECT_EQ(in.getChar(), '\0');
    in.position(11);
    EXPECT_FALSE(in.eof());
    in.getChar();
    in.unget('x');
    EXPECT_EQ(rest(in), "xe");
}

TEST(ByteStream, memoryIsChangedAtThePositionAndLinesWrapByWhatWasWritten)
{
    ByteStream stream{LightweightString<char>("abc")};
    stream.unget('?'); // at the start: nothing
    stream.getChar();
    stream.unget('x');
    stream.position(5);
    stream << "Y";
    EXPECT_EQ(stream.buffer(), std::string_view("xbc\0\0Y", 6));
    for (const auto& [length, escape, wrapped] :
         {std::tuple(3u, '\0', "abc\ndef\ngh"), {3u, '\\', "abc\\\ndef\\\ngh"}, {0xFFFFFFFFu, '\0', "abcdefgh"}})
    {
        stream.reset();
        stream.setLineLength(length);
        stream.setEscapeChar(escape);
        stream << "abcdefgh";
        EXPECT_EQ(stream.buffer(), wrapped);
    }
}

TEST(ByteStream, resetKeepsAnOpenQuoteAndInitClosesIt)
{
    for (const bool init : {false, true})
    {
        ByteStream stream{LightweightString<char>("\"")};
        stream.getChar();
        init ? stream.init() : stream.reset();
        stream << "//";
        stream.position(0);
        stream.setStripComments(true);
        EXPECT_EQ(stream.getChar(), init ? '\0' : '/');
    }
}
