#include "Mw/Split.h"
#include "Mw/Trim.h"

#include <gtest/gtest.h>

#include <ostream>

using String = LightweightString<char>;
using Pieces = Mw::StringToVec<String>::VecT;

namespace
{

struct Case
{
    const char* text;
    char separator;
    unsigned flags;
    Pieces pieces;
};

std::ostream& operator<<(std::ostream& out, const Case& c)
{
    return out << '[' << c.text << "] at [" << c.separator << "] flags " << c.flags;
}

const unsigned merge = Mw::SplitMergeRuns, quotes = Mw::SplitHonourQuotes, keep = Mw::SplitKeepSeparator;

const Case cases[] = {
    {"a", ',', 0, {"a"}},
    {",", ',', 0, {""}},
    {",", ',', keep, {","}},
    {"", ',', 0, {""}},
    {",a,,b,", ',', 0, {"a", "", "b"}},
    {",a,,b,", ',', keep, {"a,", ",", "b,"}},
    {",,", ',', 0, {""}},
    {"a,b", ',', merge, {"a", "b"}},
    // The run counts as one separator, and the piece behind it begins behind the run's first.
    {"a,,,b,c", ',', merge, {"a", ",,b", "c"}},
    {"a,,", ',', merge, {"a", ","}},
    {",,a", ',', merge, {",a"}},
    {"x,\"a,b\",y", ',', quotes, {"x", "\"a,b\"", "y"}},
    {"\"a,b\"", ',', 0, {"\"a", "b\""}},
    {"\\\"a,b\\\"", ',', quotes, {"\\\"a", "b\\\""}},
    {"\"a,b", ',', quotes, {"\"a,b"}},
    {"a\"b\"c", '"', quotes, {"a", "b", "c"}},
    {"1|2|3", '|', merge | keep, {"1|", "2|", "3"}},
};

} // namespace

TEST(Split, piecesOfEachForm)
{
    for (const Case& c : cases)
    {
        SCOPED_TRACE(testing::PrintToString(c));
        Pieces out;
        EXPECT_EQ(Mw::splitIf(String(c.text), Mw::IsMatchingChar<char>(c.separator), out, c.flags), c.pieces.size());
        EXPECT_EQ(out, c.pieces);
    }
}

TEST(Split, appendsToWhatIsThereAndSharesAnUnsplitText)
{
    const LightweightString<wchar_t> whole = L"reel 7";
    Mw::StringToVec<LightweightString<wchar_t>>::VecT out{L"first"};
    EXPECT_EQ(Mw::splitIf(whole, Mw::IsMatchingChar<wchar_t>(L','), out, 0), 2u);
    EXPECT_EQ(out[1].c_str(), whole.c_str());
}

// The vector grows while its own element is split.
TEST(Split, textMayStandInTheVectorItIsSplitInto)
{
    const String text = "a reel name that is long enough,b";
    Pieces out{text};
    out.shrink_to_fit();
    EXPECT_EQ(Mw::splitIf(out[0], Mw::IsMatchingChar<char>(','), out), 3u);
    EXPECT_EQ(out, (Pieces{text, "a reel name that is long enough", "b"}));
}

// Every text of up to seven characters over a small alphabet: the pieces that keep their separators put
// the text together again, but for a separator at the start.
TEST(Split, keptSeparatorsGiveTheTextBack)
{
    const char alphabet[] = {',', 'a', '"'};
    const unsigned codes = 3 * 3 * 3 * 3 * 3 * 3 * 3;
    for (unsigned code = 0; code < codes; ++code)
    {
        String text;
        for (unsigned rest = code, i = 0; i < 7; ++i, rest /= 3)
            text += alphabet[rest % 3];
        for (unsigned length = 2; length <= 7; ++length)
            for (const unsigned flags : {keep, keep | quotes})
            {
                const String part = text.substr(0, length);
                Pieces out;
                Mw::splitIf(part, Mw::IsMatchingChar<char>(','), out, flags);
                String joined;
                for (const String& piece : out)
                    joined += piece;
                ASSERT_EQ(joined, part[0] == ',' ? part.substr(1) : part) << part;
            }
    }
}

TEST(Trim, removesSpacesAtTheEndAlone)
{
    String text = " a b  ";
    const String shared = text;
    trimTrailingSpaces(text);
    EXPECT_EQ(text, " a b");
    EXPECT_EQ(shared, " a b  ");

    String blank = "   ";
    trimTrailingSpaces(blank);
    EXPECT_EQ(blank.capacity(), 0u);
}
