#pragma once

#include "Mw/LightweightString.h"
#include "OS/Export.h"

#include <string_view>

// Values of settings as text, and back, whatever locale the host has set. Any thread.

// "true" or "false".
MISC_API char const* BoolAsString(bool value) noexcept;

namespace Mw::valuetext
{

// White space of configuration texts; a byte with the top bit set is none.
constexpr bool isSpace(char c) noexcept
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

// As strtol base 10 and strtod: the number that the text begins with, 0 if there is none. One that doesn't
// fit is the nearest that does.
long toLong(std::string_view text) noexcept;
int toInt(std::string_view text) noexcept;
double toDouble(std::string_view text) noexcept;

// `otherwise` for all but "true" and "false".
bool toBool(std::string_view text, bool otherwise) noexcept;

LightweightString<char> fromLong(long value);

// As "%.8lf", the form of configb.
LightweightString<char> withEightDecimals(double value);

} // namespace Mw::valuetext
