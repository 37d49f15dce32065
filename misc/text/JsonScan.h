#pragma once

#include "Mw/SixteenBytes.h"

#include <bit>
#include <cstddef>
#include <cstring>
#include <string_view>

// What the reader and the writer look for in runs of characters, 16 bytes at a time. Nothing
// at or past `end` is read.
namespace JSON
{

inline bool isBlank(char c) noexcept
{
    return static_cast<unsigned char>(c) <= ' ' && (c == ' ' || c == '\n' || c == '\t' || c == '\r');
}

inline bool endsText(char c) noexcept
{
    return c == '"' || c == '\\';
}

inline bool isAsciiByte(char c) noexcept
{
    return static_cast<signed char>(c) >= 0;
}

using Mw::sixteen::Bytes;
using Mw::sixteen::highBits;
using Mw::sixteen::isZero;
using Mw::sixteen::load;
using Mw::sixteen::Wide;

constexpr std::ptrdiff_t bytesAtOnce = sizeof(Bytes);

inline const char* skipBlanks(const char* p, const char* end) noexcept
{
    for (; end - p >= bytesAtOnce; p += bytesAtOnce)
    {
        const Bytes bytes = load(p);
        const unsigned blanks = highBits((bytes == ' ') | (bytes == '\n') | (bytes == '\t') | (bytes == '\r'));
        if (blanks != 0xFFFF)
            return p + std::countr_one(blanks);
    }
    while (p != end && isBlank(*p))
        ++p;
    return p;
}

// The first quote or backslash, or the end. `isAscii` becomes false if there is another byte than ASCII before it.
inline const char* findTextEnd(const char* p, const char* end, bool& isAscii) noexcept
{
    for (; end - p >= bytesAtOnce; p += bytesAtOnce)
    {
        const Bytes bytes = load(p);
        const unsigned others = highBits(bytes);
        const unsigned ends = highBits((bytes == '"') | (bytes == '\\'));
        const unsigned before = ends ^ (ends - 1); // all bits where nothing ends
        isAscii = isAscii && (others & before) == 0;
        if (ends != 0)
            return p + std::countr_zero(ends);
    }
    for (; p != end && !endsText(*p); ++p)
        isAscii = isAscii && isAsciiByte(*p);
    return p;
}

inline bool hasToBeEscaped(wchar_t c) noexcept
{
    return c == L'"' || c == L'\\' || c == L'\t' || c == L'\n' || c == L'\r';
}

inline bool hasEscapes(std::wstring_view text) noexcept
{
    const wchar_t* p = text.data();
    const wchar_t* const end = p + text.size();
    const auto atFour = [](const wchar_t* at)
    {
        const Wide four = load(at);
        return highBits((four == '"') | (four == '\\') | (four == '\t') | (four == '\n') | (four == '\r')) != 0;
    };
    if (text.size() >= 4)
    {
        for (; end - p > 4; p += 4)
            if (atFour(p))
                return true;
        return atFour(end - 4);
    }
    while (p != end && !hasToBeEscaped(*p))
        ++p;
    return p != end;
}

// Writes the characters as bytes, in room for 16 more. False if one of them isn't ASCII.
inline bool narrow(std::wstring_view text, char* out) noexcept
{
    const wchar_t* p = text.data();
    const wchar_t* const end = p + text.size();
    char32_t all = 0;
#if defined(__x86_64__)
    using EightShorts [[gnu::vector_size(16)]] = short;
    Wide any{};
    for (; end - p >= bytesAtOnce; p += bytesAtOnce, out += bytesAtOnce)
    {
        const Wide a = load(p);
        const Wide b = load(p + 4);
        const Wide c = load(p + 8);
        const Wide d = load(p + 12);
        any |= a | b | c | d;
        const EightShorts low = __builtin_ia32_packssdw128(a, b);
        const EightShorts high = __builtin_ia32_packssdw128(c, d);
        const Bytes bytes = reinterpret_cast<Bytes>(__builtin_ia32_packuswb128(low, high));
        std::memcpy(out, &bytes, sizeof bytes);
    }
    all = static_cast<char32_t>(any[0] | any[1] | any[2] | any[3]);
#endif
    for (; p != end; ++p)
    {
        all |= static_cast<char32_t>(*p);
        *out++ = static_cast<char>(*p);
    }
    return all < 0x80;
}

} // namespace JSON
