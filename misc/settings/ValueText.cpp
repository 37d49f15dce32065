#include "misc/settings/ValueText.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

char const* BoolAsString(bool value) noexcept
{
    return value ? "true" : "false";
}

namespace Mw::valuetext
{

namespace
{

// What from_chars takes of what strtol and strtod take: without white space and a plus sign.
std::string_view numberIn(std::string_view text) noexcept
{
    while (!text.empty() && isSpace(text[0]))
        text.remove_prefix(1);
    if (text.size() > 1 && text[0] == '+' && text[1] != '-')
        text.remove_prefix(1);
    return text;
}

template <class T>
std::from_chars_result readDouble(std::string_view text, T& value) noexcept
{
    const bool negative = text.substr(0, 1) == "-";
    const std::string_view digits = text.substr(negative ? 1 : 0);
    if (digits.substr(0, 2) != "0x" && digits.substr(0, 2) != "0X")
        return std::from_chars(text.data(), text.data() + text.size(), value);
    const auto result =
        std::from_chars(digits.data() + 2, digits.data() + digits.size(), value, std::chars_format::hex);
    if (negative)
        value = -value;
    return result;
}

} // namespace

long toLong(std::string_view text) noexcept
{
    const std::string_view number = numberIn(text);
    long value = 0;
    if (std::from_chars(number.data(), number.data() + number.size(), value).ec == std::errc::result_out_of_range)
        return number[0] == '-' ? std::numeric_limits<long>::min() : std::numeric_limits<long>::max();
    return value;
}

int toInt(std::string_view text) noexcept
{
    using Int = std::numeric_limits<int>;
    return static_cast<int>(std::clamp<long>(toLong(text), Int::min(), Int::max()));
}

double toDouble(std::string_view text) noexcept
{
    const std::string_view number = numberIn(text);
    double value = 0;
    if (readDouble(number, value).ec != std::errc::result_out_of_range)
        return value;
    // The wider type tells a number that is too large from one that is too small.
    long double wide = 0;
    if (readDouble(number, wide).ec != std::errc::result_out_of_range)
        return static_cast<double>(wide);
    const bool isSmall = number.find("e-") != number.npos || number.find("E-") != number.npos;
    return std::copysign(isSmall ? 0.0 : HUGE_VAL, number[0] == '-' ? -1.0 : 1.0);
}

bool toBool(std::string_view text, bool otherwise) noexcept
{
    return text == "true" || (text != "false" && otherwise);
}

LightweightString<char> fromLong(long value)
{
    char text[24];
    return std::string_view(text, std::to_chars(text, std::end(text), value).ptr);
}

LightweightString<char> withEightDecimals(double value)
{
    char text[330]; // 309 digits, sign, point and 8 decimals
    return std::string_view(text, std::to_chars(text, std::end(text), value, std::chars_format::fixed, 8).ptr);
}

} // namespace Mw::valuetext
