#include "libmw/UUID.h"

#include <string_view>
#include <uuid/uuid.h>

namespace Mw
{

namespace
{

constexpr unsigned char notADigit = 0xFF;

// The value of each character as a hexadecimal digit.
constexpr std::array<unsigned char, 256> digitValues = []
{
    std::array<unsigned char, 256> values{};
    values.fill(notADigit);
    for (unsigned digit = 0; digit < 10; ++digit)
        values['0' + digit] = static_cast<unsigned char>(digit);
    for (unsigned digit = 10; digit < 16; ++digit)
        values['a' + digit - 10] = values['A' + digit - 10] = static_cast<unsigned char>(digit);
    return values;
}();

// The two digits of each byte.
constexpr std::array<std::array<char, 2>, 256> bytePairs = []
{
    constexpr char digits[] = "0123456789abcdef";
    std::array<std::array<char, 2>, 256> pairs{};
    for (unsigned byte = 0; byte < 256; ++byte)
        pairs[byte] = {digits[byte >> 4], digits[byte & 15]};
    return pairs;
}();

// Where the sixteen bytes stand in the text, and where the hyphens between them.
constexpr std::array<unsigned char, 16> bytePlaces{0, 2, 4, 6, 9, 11, 14, 16, 19, 21, 24, 26, 28, 30, 32, 34};
constexpr std::array<unsigned char, 4> hyphenPlaces{8, 13, 18, 23};

template <class C>
unsigned digitValue(C c) noexcept
{
    const auto code = static_cast<std::make_unsigned_t<C>>(c);
    return code < digitValues.size() ? digitValues[code] : notADigit;
}

template <class C>
bool hasTextLength(const C* text) noexcept
{
    unsigned length = 0;
    while (length <= UUID::textLength && text[length] != 0)
        ++length;
    return length == UUID::textLength;
}

template <class C>
UUID::Words parse(const C* text) noexcept
{
    if (text == nullptr || !hasTextLength(text))
        return {};
    for (const unsigned place : hyphenPlaces)
        if (text[place] != '-')
            return {};
    UUID::Words words{};
    unsigned seen = 0; // a bit above the lowest four tells of a character that is no digit
    for (unsigned i = 0; i < bytePlaces.size(); ++i)
    {
        const unsigned high = digitValue(text[bytePlaces[i]]);
        const unsigned low = digitValue(text[bytePlaces[i] + 1]);
        seen |= high | low;
        words[i / 4] = words[i / 4] << 8 | (high << 4 & 0xF0) | (low & 0x0F);
    }
    return seen < 16 ? words : UUID::Words{};
}

template <class C>
void format(const UUID::Words& words, C* text) noexcept
{
    for (unsigned i = 0; i < bytePlaces.size(); ++i)
    {
        const auto& pair = bytePairs[words[i / 4] >> (24 - i % 4 * 8) & 0xFF];
        text[bytePlaces[i]] = static_cast<C>(pair[0]);
        text[bytePlaces[i] + 1] = static_cast<C>(pair[1]);
    }
    for (const unsigned place : hyphenPlaces)
        text[place] = '-';
    text[UUID::textLength] = 0;
}

} // namespace

UUID::UUID(const char* text) noexcept : words_(parse(text)) {}
UUID::UUID(const wchar_t* text) noexcept : words_(parse(text)) {}

UUID UUID::generate()
{
    uuid_t bytes;
    uuid_generate_random(bytes);
    Words words{};
    for (unsigned i = 0; i < sizeof bytes; ++i)
        words[i / 4] = words[i / 4] << 8 | bytes[i];
    return UUID(words);
}

void UUID::asString(char* text) const noexcept
{
    format(words_, text);
}

void UUID::asWString(wchar_t* text) const noexcept
{
    format(words_, text);
}

} // namespace Mw
