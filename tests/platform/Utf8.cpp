#include "OS/Utf8.h"

#include <gtest/gtest.h>

#include <bit>
#include <iterator>
#include <string>
#include <utf8.h>

namespace
{

constexpr char32_t replacement = 0xFFFD;

std::string encoded(char32_t c)
{
    std::string text;
    utf8::append(c, std::back_inserter(text));
    return text;
}

// Whether any character of so many bytes has these leading bits, with so many groups of six behind them.
bool beginsCharacter(unsigned bits, int bytes, int missing)
{
    const unsigned lowest = bits << 6 * missing, highest = ((bits + 1) << 6 * missing) - 1;
    const unsigned first = bytes == 2 ? 0x80 : bytes == 3 ? 0x800 : 0x10000;
    return highest >= first && lowest <= 0x10FFFF && (lowest < 0xD800 || highest > 0xDFFF);
}

// The conversion by its definition, byte by byte: a bad part is the longest that begins a character.
std::wstring modelOf(const std::string& text)
{
    std::wstring wide;
    for (std::size_t at = 0; at < text.size();)
    {
        const auto lead = static_cast<unsigned char>(text[at++]);
        const int bytes = std::countl_one(lead);
        unsigned c = bytes == 0 ? lead : lead & (0x7Fu >> bytes);
        int missing = bytes == 0 ? 0 : bytes - 1;
        if (bytes == 1 || bytes > 4 || (bytes > 1 && !beginsCharacter(c, bytes, missing)))
            c = replacement, missing = 0;
        for (; missing > 0; --missing, ++at)
        {
            const unsigned byte = at < text.size() ? static_cast<unsigned char>(text[at]) : 0;
            const unsigned next = c << 6 | (byte & 0x3F);
            if ((byte & 0xC0) != 0x80 || !beginsCharacter(next, bytes, missing - 1))
            {
                c = replacement;
                break;
            }
            c = next;
        }
        wide.push_back(static_cast<wchar_t>(c));
    }
    return wide;
}

std::wstring widened(const std::string& text)
{
    const LightweightString<wchar_t> wide = Mw::wideFromUtf8(text.data(), text.size());
    return std::wstring(wide.c_str(), wide.length());
}

std::string narrowed(const std::wstring& text)
{
    const LightweightString<char> utf8 = Mw::utf8FromWide(text.data(), text.size());
    return std::string(utf8.c_str(), utf8.length());
}

} // namespace

TEST(Utf8, everySequenceOfBoundaryBytesWidensByDefinition)
{
    const unsigned char bytes[] = {0x00, 0x41, 0x7F, 0x80, 0x8F, 0x90, 0x9F, 0xA0, 0xBF, 0xC0, 0xC1, 0xC2,
                                   0xDF, 0xE0, 0xE1, 0xED, 0xEE, 0xEF, 0xF0, 0xF1, 0xF3, 0xF4, 0xF5, 0xFF};
    for (unsigned code = 0; code < 24 * 24 * 24 * 24; ++code)
    {
        std::string text;
        for (unsigned rest = code; text.size() < 4; rest /= 24)
            text += static_cast<char>(bytes[rest % 24]);
        ASSERT_EQ(widened(text), modelOf(text)) << testing::PrintToString(text);
    }
}

// ASCII goes in blocks and texts in chunks: a sequence must come out the same wherever it lies.
TEST(Utf8, sequencesComeOutTheSameAtEveryPlaceInLongTexts)
{
    const std::string sequences[] = {"\xC3\xA9",     "\xE6\x98\xA0",       "\xF0\x9F\x8E\xAC",
                                     "\xFF",         "\xE6\x98",           "\xF0\x9F\x8E",
                                     "\xED\xA0\x80", std::string(1, '\0'), "\xC3\xA9x\xC3\xA9"};
    for (const std::string& sequence : sequences)
        for (const std::size_t length : {0u, 1u, 15u, 16u, 17u, 31u, 33u, 64u, 70u, 1100u, 4200u})
            for (std::size_t at = 0; at <= length;
                 at += at < 70 || (at > 1000 && at < 1030) || (at > 4070 && at < 4100) ? 1 : 61)
            {
                const std::string text = std::string(at, 'x') + sequence + std::string(length - at, 'y');
                const std::wstring wide = widened(text);
                ASSERT_EQ(wide, modelOf(text)) << at << " of " << length;
                ASSERT_EQ(widened(narrowed(wide)), wide) << at << " of " << length;
            }
}

TEST(Utf8, everyCharacterGoesThereAndBack)
{
    std::wstring all;
    std::string bytes;
    for (char32_t c = 0; c <= 0x10FFFF; ++c)
        if (c < 0xD800 || c > 0xDFFF)
        {
            all.push_back(static_cast<wchar_t>(c));
            bytes += encoded(c);
        }
    EXPECT_TRUE(narrowed(all) == bytes);
    EXPECT_TRUE(widened(bytes) == all);
}

TEST(Utf8, whatIsNoCharacterNarrowsToTheReplacement)
{
    for (const unsigned value : {0xD800u, 0xDFFFu, 0x110000u, 0x80000000u, 0xFFFFFFFFu})
        for (const std::size_t at : {0u, 16u, 40u})
        {
            std::wstring text(50, L'x');
            text[at] = static_cast<wchar_t>(value);
            EXPECT_EQ(narrowed(text), std::string(at, 'x') + "\xEF\xBF\xBD" + std::string(49 - at, 'x')) << value;
        }
}
