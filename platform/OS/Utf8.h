#pragma once

#include "Mw/LightweightString.h"

#include <cstddef>

// The one conversion between UTF-8 and wide text that everything uses. Zero bytes are characters like
// others. Any thread.
namespace Mw
{

// Every maximal part of the text that is no character becomes one U+FFFD.
OS_API LightweightString<wchar_t> wideFromUtf8(const char* text, std::size_t lengthBytes);

// What is no character (a surrogate, a value above U+10FFFF) becomes U+FFFD.
OS_API LightweightString<char> utf8FromWide(const wchar_t* text, std::size_t length);

} // namespace Mw
