#pragma once

#include "Mw/SixteenBytes.h"

#include <bit>
#include <cstddef>
#include <cstring>
#include <string_view>

// What the reader and the writer look for in runs of characters, 16 bytes at a time. Nothing at or past `end` is
// read.
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

// Calls piece(at) for places of `width` characters that cover a longer text, of which the last two may overlap.
template <std::size_t width, class Piece>
[[gnu::always_inline]] inline void forEachPiece(std::size_t length, Piece piece)
{
    for (std::size_t at = 0; at < length - width; at += width)
        piece(at);
    piece(length - width);
}

// Calls four(at) for places that cover a text, or one(at) for each place of a text shorter than four.
template <class Four, class One>
[[gnu::always_inline]] inline void forEachFour(std::size_t length, Four four, One one)
{
    if (length >= 4)
        return forEachPiece<4>(length, four);
    for (std::size_t at = 0; at < length; ++at)
        one(at);
}

// Sixteen characters as bytes; those above ASCII don't matter.
inline Bytes narrowed(Wide a, Wide b, Wide c, Wide d) noexcept
{
#if defined(__x86_64__)
    using EightShorts [[gnu::vector_size(16)]] = short;
    const EightShorts low = __builtin_ia32_packssdw128(a, b);
    const EightShorts high = __builtin_ia32_packssdw128(c, d);
    return reinterpret_cast<Bytes>(__builtin_ia32_packuswb128(low, high));
#else
    Bytes bytes;
    for (int i = 0; i < 16; ++i)
        bytes[i] = static_cast<char>((i < 4 ? a : i < 8 ? b : i < 12 ? c : d)[i % 4]);
    return bytes;
#endif
}

// What was seen of a text.
struct Seen
{
    bool isAscii;
    bool hasEscapes; // told of ASCII only
};

// Writes the characters as bytes.
inline Seen narrow(std::wstring_view text, char* out) noexcept
{
    const wchar_t* const in = text.data();
    Wide all{};
    Bytes escapes{};
    const auto four = [&](std::size_t at)
    {
        const Wide taken = load(in + at);
        all |= taken;
        return taken;
    };
    const auto write = [&](std::size_t at, Bytes bytes, std::size_t count)
    {
        escapes |= (bytes == '"') | (bytes == '\\') | (bytes == '\t') | (bytes == '\n') | (bytes == '\r');
        std::memcpy(out + at, &bytes, count);
    };
    if (text.size() >= 16)
        forEachPiece<16>(text.size(), [&](std::size_t at)
                         { write(at, narrowed(four(at), four(at + 4), four(at + 8), four(at + 12)), 16); });
    else
        forEachFour(
            text.size(),
            [&](std::size_t at)
            {
                const Wide taken = four(at);
                write(at, narrowed(taken, taken, taken, taken), 4);
            },
            [&](std::size_t at)
            {
                const Wide taken{in[at], 0, 0, 0};
                all |= taken;
                write(at, narrowed(taken, taken, taken, taken), 1);
            });
    return {isZero(reinterpret_cast<Bytes>(all & ~0x7F)), !isZero(escapes)};
}

} // namespace JSON
