#include "misc/base/strxcmp.h"

#include <gtest/gtest.h>

#include <string>

namespace
{

int sign(int value)
{
    return (value > 0) - (value < 0);
}

std::wstring widened(const char* text)
{
    return std::wstring(text, text + std::char_traits<char>::length(text));
}

const std::tuple<const char*, const char*, int> cases[] = {
    {"clip9", "clip10", -1},
    {"Clip 2 take 10", "clip 2 TAKE 9", 1},
    {"CLIP", "clip", 0},
    {"", "a", -1},
    {"a", "a1", -1},
    {"a1", "ab", -1},
    {"abc1", "abd", -1},
    {"01", "1", -1}, // one value: as text
    {"a007b", "a7a", -1},
    {"_", "a", -1},                      // '_' against the lower-case letter
    {"x99999999999", "x99999999998", 1}, // beyond 32 bits both are the largest
    {"x99999999999", "x2147483647", 1},  // and then text decides
    {"x4294967297", "x2", 1},
};

} // namespace

TEST(strxcmp, ordersNamesInBothWidthsAndDirections)
{
    for (const auto& [a, b, order] : cases)
    {
        EXPECT_EQ(sign(strxcmp(a, b)), order) << a << " and " << b;
        EXPECT_EQ(sign(strxcmp(b, a)), -order) << b << " and " << a;
        EXPECT_EQ(sign(wstrxcmp(widened(a).c_str(), widened(b).c_str())), order) << a << " and " << b;
    }
}

TEST(strxcmp, nullIsEmpty)
{
    EXPECT_EQ(strxcmp("a", nullptr), 1);
    EXPECT_EQ(wstrxcmp(nullptr, L""), 0);
    EXPECT_EQ(strycmp(nullptr, " "), 0);
}

TEST(strxcmp, highCharactersAreNeitherDigitsNorLetters)
{
    EXPECT_GT(strxcmp("\xC3\xA4", "z"), 0);
    EXPECT_LT(wstrxcmp(L"\u0662", L"\u0663"), 0); // digits of another script
    EXPECT_NE(wstrxcmp(L"\u00C4", L"\u00E4"), 0); // the C locale folds A to Z alone
}

TEST(strycmp, signIsReversedAndSpaceAndCaseAreIgnored)
{
    EXPECT_EQ(strycmp("a b", "AB"), 0);
    EXPECT_EQ(strycmp("  a\t", "A"), 0);
    EXPECT_EQ(strycmp("a", "c"), 'c' - 'a');
    EXPECT_EQ(strycmp("a", "B"), 'B' - 'a'); // of the characters as they are written
    EXPECT_EQ(strycmp("ax", "a"), -'x');
    EXPECT_EQ(strycmp("a", "a x"), 'x');
    EXPECT_EQ(strycmp("", "\xFF"), 0xFF);
}
