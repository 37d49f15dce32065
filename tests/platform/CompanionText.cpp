#include "libmw/AttribValuePair.h"
#include "libmw/Text.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <limits>

using Narrow = LightweightString<char>;
using Wide = LightweightString<wchar_t>;

// The conversions themselves are those of OS/Utf8.
TEST(CompanionText, lengthsAndNullsOfConversions)
{
    EXPECT_EQ(fromUTF8("a\xC3\xA9z", -1), L"a\u00E9z");
    EXPECT_TRUE(fromUTF8(nullptr, 5).empty() && Mw::WStringFromAscii(nullptr).empty());
    Narrow text("n");
    text += -7;
    text += 4294967295u;
    EXPECT_EQ(text, "n-74294967295");
}

TEST(CompanionText, foldingChangesAsciiLettersOnly)
{
    const Narrow mixed("aZ[`{@ \xC3\xA9 9");
    EXPECT_EQ(toUpper(mixed), "AZ[`{@ \xC3\xA9 9");
    EXPECT_EQ(toLower(mixed), "az[`{@ \xC3\xA9 9");
    EXPECT_EQ(mixed, "aZ[`{@ \xC3\xA9 9"); // was not changed with its copies
    EXPECT_EQ(Mw::toUpper(Wide(L"a\u00E9\u0131z")), L"A\u00E9\u0131Z");
}

TEST(CompanionText, whiteSpaceAndTrimmedCharacters)
{
    EXPECT_TRUE(isEssentiallyEmpty(Narrow()) && isEssentiallyEmpty(Narrow(" \t\r\n\v\f")));
    EXPECT_FALSE(isEssentiallyEmpty(Narrow("  .")) || isEssentiallyEmpty(Narrow("\xC2\xA0")));
    for (const wchar_t* const core : {L"a/b", L""})
    {
        Wide text(L"//" + Wide(core) + L"//");
        Mw::stripLeadingChars(text, L'/');
        Mw::stripTrailingChars(text, L'/');
        EXPECT_EQ(text, core);
    }
    EXPECT_TRUE(Mw::endsWith(L"ab", L'B', false) && !Mw::endsWith(L"ab", L'B', true) && !Mw::endsWith({}, L'b', true));
}

TEST(CompanionText, floatsReadBackEqualWithoutAnExponent)
{
    EXPECT_EQ(StringFromFloat(1e21), "1000000000000000000000");
    for (const double value : {5e-324, -2.2250738585072011e-308, 1.7976931348623157e308, 0.1 + 0.2})
    {
        const Narrow text = StringFromFloat(value);
        EXPECT_EQ(std::strtod(text.c_str(), nullptr), value);
        EXPECT_EQ(text.find('e'), Narrow::npos);
    }
    // Wide ones have six digits and may lose their zeros.
    EXPECT_EQ(Mw::WStringFromFloat(1.5e9, 'e', true), L"1.5e+09");
    EXPECT_EQ(Mw::WStringFromFloat(-std::numeric_limits<double>::max(), 'f', false).length(), 317u);
}

TEST(CompanionText, wideIntegersAreWholeTextsOrTheDefault)
{
    EXPECT_EQ(Mw::IntFromWString(L" -42\n", -99), -42);
    EXPECT_EQ(Mw::IntFromWString(L"-2147483648", -99), std::numeric_limits<int>::min());
    for (const wchar_t* const text :
         {L"2147483648", L"-2147483649", L"", L"-", L"- 1", L"4 2", L"42x", L"0x10", L"\u0664"})
        EXPECT_EQ(Mw::IntFromWString(text, -99), -99) << toUTF8(text);
}

TEST(AttribValuePair, textFormSplitsAtTheFirstSeparator)
{
    EXPECT_EQ(Mw::AttribValuePair("rate=25=x", '=').asString(':'), "rate:25=x");
    for (const char* const text : {"", "=", "=value", "name"})
        EXPECT_FALSE(Mw::AttribValuePair(text, '=').valid()) << text;
}
