#include "OS/Utf8.h"

#include <gtest/gtest.h>

#include <iterator>
#include <map>
#include <set>
#include <string>
#include <utf8.h>

namespace
{

constexpr char32_t replacement = 0xFFFD;

bool isCharacter(char32_t c)
{
    return c <= 0x10FFFF && !(c >= 0xD800 && c <= 0xDFFF);
}

std::string encoded(char32_t c)
{
    std::string text;
    utf8::append(c, std::back_inserter(text));
    return text;
}

// The conversion by its definition, from all encodings there are: a bad part is the longest that begins one.
class Model
{
public:
    Model()
    {
        for (char32_t c = 0x80; c <= 0x10FFFF; c += 0x40) // the last byte holds six bits
            if (isCharacter(c))
            {
                std::string text = encoded(c);
                text.pop_back();
                for (withoutLast_[text] = c; !text.empty(); text.pop_back())
                    beginnings_.insert(text);
            }
    }

    std::wstring widen(const std::string& text) const
    {
        std::wstring wide;
        for (std::size_t at = 0, length = 1; at < text.size(); at += length)
        {
            char32_t c = (text[at] & 0x80) == 0 ? static_cast<char32_t>(text[at]) : replacement;
            length = 1;
            for (std::size_t n = 1; at + n <= text.size() && beginnings_.contains(text.substr(at, n)); ++n)
            {
                length = n;
                const auto found = withoutLast_.find(text.substr(at, n));
                if (found == withoutLast_.end() || (text[at + n] & 0xC0) != 0x80)
                    continue;
                c = found->second + (static_cast<char32_t>(text[at + n]) & 0x3F);
                length = n + 1;
                break;
            }
            wide.push_back(static_cast<wchar_t>(c));
        }
        return wide;
    }

private:
    std::map<std::string, char32_t> withoutLast_; // the first character of those that begin so
    std::set<std::string> beginnings_;
};

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
    const Model model;
    const unsigned char bytes[] = {0x00, 0x41, 0x7F, 0x80, 0x8F, 0x90, 0x9F, 0xA0, 0xBF, 0xC0, 0xC1, 0xC2,
                                   0xDF, 0xE0, 0xE1, 0xED, 0xEE, 0xEF, 0xF0, 0xF1, 0xF3, 0xF4, 0xF5, 0xFF};
    for (unsigned code = 0; code < 24 * 24 * 24 * 24; ++code)
    {
        std::string text;
        for (unsigned rest = code; text.size() < 4; rest /= 24)
            text += static_cast<char>(bytes[rest % 24]);
        ASSERT_EQ(widened(text), model.widen(text)) << testing::PrintToString(text);
    }
}

// ASCII goes in blocks and texts in chunks: a sequence must come out the same wherever it lies.
TEST(Utf8, sequencesComeOutTheSameAtEveryPlaceInLongTexts)
{
    const Model model;
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
                ASSERT_EQ(wide, model.widen(text)) << at << " of " << length;
                std::string repaired;
                for (const wchar_t c : wide)
                    repaired += encoded(static_cast<char32_t>(c));
                ASSERT_EQ(narrowed(wide), repaired) << at << " of " << length;
            }
}

TEST(Utf8, everyCharacterGoesThereAndBack)
{
    std::wstring all;
    std::string bytes;
    for (char32_t c = 0; c <= 0x10FFFF; ++c)
        if (isCharacter(c))
        {
            all.push_back(static_cast<wchar_t>(c));
            bytes += encoded(c);
        }
    EXPECT_TRUE(narrowed(all) == bytes);
    EXPECT_TRUE(widened(bytes) == all);
}

TEST(Utf8, whatIsNoCharacterNarrowsToTheReplacement)
{
    for (const unsigned value : {0xD800u, 0xDBFFu, 0xDC00u, 0xDFFFu, 0x110000u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu})
        for (const std::size_t at : {0u, 5u, 16u, 40u})
        {
            std::wstring text(50, L'x');
            text[at] = static_cast<wchar_t>(value);
            EXPECT_EQ(narrowed(text), std::string(at, 'x') + "\xEF\xBF\xBD" + std::string(49 - at, 'x')) << value;
        }
}
