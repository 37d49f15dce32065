#pragma once

#include "Mw/LightweightString.h"
#include "OS/Export.h"

// Conversions of text and numbers. Nothing here looks at the locale of the host: numbers are written and
// read as in C, letters are those of ASCII, white space is blank, \t, \n, \v, \f and \r. Any thread.

// Wide text as UTF-8. What is no character becomes U+FFFD; zero bytes are kept.
LIBMW_API LightweightString<char> toUTF8(const LightweightString<wchar_t>& text);

// UTF-8 as wide text. Each maximal bad part becomes one U+FFFD; zero bytes are kept. Null gives the empty
// text, a length of -1 means to the terminator.
LIBMW_API LightweightString<wchar_t> fromUTF8(const LightweightString<char>& text);
LIBMW_API LightweightString<wchar_t> fromUTF8(const char* text, int lengthBytes = -1);

// Case folding, in place or as a new text. A text that has nothing to fold stays shared.
LIBMW_API void toLower(LightweightString<char>& text);
LIBMW_API void toUpper(LightweightString<char>& text);
[[nodiscard]] LIBMW_API LightweightString<char> toLower(const LightweightString<char>& text);
[[nodiscard]] LIBMW_API LightweightString<char> toUpper(const LightweightString<char>& text);

// Whether the text, up to its first zero, is empty or white space only.
LIBMW_API bool isEssentiallyEmpty(const LightweightString<char>& text);

LIBMW_API LightweightString<char> StringFromInteger(int value);

// In fixed notation, never with an exponent, in the fewest digits that read back as the same value. What
// is not finite is "inf", "-inf" or "nan".
LIBMW_API LightweightString<char> StringFromFloat(double value);

// The left text is taken up to its terminator; null counts as empty.
LIBMW_API LightweightString<char> operator+(const char* left, const LightweightString<char>& right);
LIBMW_API LightweightString<wchar_t> operator+(const wchar_t* left, const LightweightString<wchar_t>& right);

// Appends the number in decimal digits.
LIBMW_API LightweightString<char>& operator+=(LightweightString<char>& text, int value);
LIBMW_API LightweightString<char>& operator+=(LightweightString<char>& text, unsigned int value);

namespace Mw
{

LIBMW_API void toUpper(LightweightString<wchar_t>& text);
[[nodiscard]] LIBMW_API LightweightString<wchar_t> toUpper(const LightweightString<wchar_t>& text);

// Whether the last character is `c`.
LIBMW_API bool endsWith(const LightweightString<wchar_t>& text, wchar_t c, bool caseSensitive);

// Remove every `c` from one end.
LIBMW_API void stripLeadingChars(LightweightString<wchar_t>& text, wchar_t c);
LIBMW_API void stripTrailingChars(LightweightString<wchar_t>& text, wchar_t c);

LIBMW_API LightweightString<wchar_t> WStringFromInteger(long value);

// Six digits in one of the formats of printf: 'f' has six decimals, 'e' six decimals and an exponent, and
// 'g', which any other letter counts as, six significant digits in the shorter of the two. `trimZeros`
// drops zeros from the end of the fraction, and with the last digit the point.
LIBMW_API LightweightString<wchar_t> WStringFromFloat(double value, char format, bool trimZeros);

// The number that the text is, with white space allowed around it and a sign before it. `otherwise` if
// the text is anything else or the number doesn't fit.
LIBMW_API int IntFromWString(const LightweightString<wchar_t>& text, int otherwise);

// ASCII as wide text; null gives the empty text. Where the text is UTF-8 after all, it is read as that.
LIBMW_API LightweightString<wchar_t> WStringFromAscii(const char* text);

} // namespace Mw
