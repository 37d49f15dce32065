// Names, texts and numbers are taken in pieces of the processor's width, and the common ones in ways of their own.

#include "misc/text/JSON.h"

#include <gtest/gtest.h>

#include <charconv>
#include <cmath>
#include <random>
#include <string>

namespace
{

std::wstring escaped(const std::wstring& text)
{
    std::wstring out;
    for (const wchar_t c : text)
        out += c == L'"' ? L"\\\"" : c == L'\t' ? L"\\t" : std::wstring(1, c);
    return out;
}

template <class Number>
std::string shortest(Number value)
{
    char digits[400];
    return {digits, std::to_chars(digits, std::end(digits), value, std::chars_format::fixed).ptr};
}

template <class Number>
std::string written(Number value)
{
    JSON::Builder builder;
    builder.add(nullptr, value);
    const LightweightString<wchar_t> line = builder.getOutput()[0];
    return {line.begin(), line.end()};
}

} // namespace

TEST(JsonPieces, anyCharacterMayStandAtAnyPlaceOfNamesAndTexts)
{
    for (unsigned length = 1; length <= 40; ++length)
        for (unsigned place = 0; place < length; ++place)
            for (const wchar_t c : {L'x', L'"', L'\t', L'\u00e9', L'\U0001F3AC', static_cast<wchar_t>(-200)})
            {
                std::wstring text(length, L'a');
                text[place] = c;
                JSON::Builder builder;
                builder.add(text.c_str(), text.c_str(), true);
                builder.add(L"raw", text.c_str(), false);
                const auto lines = builder.getOutput();
                ASSERT_EQ(std::wstring(lines[0]), L'"' + escaped(text) + L"\" : \"" + escaped(text) + L"\",");
                ASSERT_EQ(std::wstring(lines[1]), L"\"raw\" : \"" + text + L'"');

                JSON::Element element;
                element.addAttrib(std::wstring(length, L'a'), 1.0);
                element.addAttrib(std::wstring(length + 1, L'a'), 2.0);
                element.addAttrib(text, 3.0);
                element.addAttrib(text, text.c_str());
                ASSERT_EQ(element.getNum(text), 3.0);
                ASSERT_EQ(std::wstring(element.getString(text)), text);
            }
}

TEST(JsonPieces, numbersAreTheShortestThatReadBack)
{
    std::mt19937_64 random(5);
    for (int round = 0; round < 40'000; ++round)
    {
        const auto digits = static_cast<double>(static_cast<std::int64_t>(random() >> random() % 64));
        const double value = (round % 2 == 0 ? 1 : -1) * digits / std::pow(10, round % 8);
        ASSERT_EQ(written(value), shortest(value));
        ASSERT_EQ(written(std::nextafter(value, 0)), shortest(std::nextafter(value, 0)));
        ASSERT_EQ(written(static_cast<float>(value)), shortest(static_cast<float>(value)));
    }
    EXPECT_EQ(written(-0.0), "-0");
    EXPECT_EQ(written(99.99995f), "99.99995");
}
