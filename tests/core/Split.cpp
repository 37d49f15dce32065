#include "Mw/Split.h"
#include "Mw/Trim.h"

#include <gtest/gtest.h>

using String = LightweightString<char>;
using Pieces = Mw::StringToVec<String>::VecT;

namespace
{

const unsigned merge = Mw::SplitMergeRuns, quotes = Mw::SplitHonourQuotes, keep = Mw::SplitKeepSeparator;

struct Case
{
    const char* text;
    char separator;
    unsigned flags;
    Pieces pieces;
};

const Case cases[] = {
    {"a", ',', 0, {"a"}},
    {",", ',', 0, {""}},
    {"", ',', 0, {""}},
    {",a,,b,", ',', 0, {"a", "", "b"}},
    {",,", ',', 0, {""}},
    // The run counts as one separator, and the piece behind it begins behind the run's first.
    {"a,,,b,c", ',', merge, {"a", ",,b", "c"}},
    {"a,,", ',', merge, {"a", ","}},
    {",,a", ',', merge, {",a"}},
    {"x,\"a,b\",y", ',', quotes, {"x", "\"a,b\"", "y"}},
    {"\"a,b\"", ',', 0, {"\"a", "b\""}},
    {"\\\"a,b\\\"", ',', quotes, {"\\\"a", "b\\\""}},
    {"\"a,b", ',', quotes, {"\"a,b"}},
    {"a\"b\"c", '"', quotes, {"a", "b", "c"}},
    {",a,,b|,", ',', merge | keep, {"a,", ",b|,"}},
    {",a,\"b,c\",,d", ',', quotes | keep, {"a,", "\"b,c\",", ",", "d"}},
    {"a,", ',', keep, {"a,"}},
};

} // namespace

TEST(Split, piecesOfEachForm)
{
    for (const Case& c : cases)
    {
        Pieces out;
        EXPECT_EQ(Mw::splitIf(String(c.text), Mw::IsMatchingChar<char>(c.separator), out, c.flags), c.pieces.size());
        EXPECT_EQ(out, c.pieces) << c.text << " at " << c.separator << " flags " << c.flags;
    }
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

TEST(Trim, removesSpacesAtTheEndAlone)
{
    String text = " a b  ", blank = "   ";
    trimTrailingSpaces(text);
    trimTrailingSpaces(blank);
    EXPECT_EQ(text, " a b");
    EXPECT_EQ(blank, "");
}
