#pragma once

#include "Mw/SixteenBytes.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <cwchar>
#include <string>
#include <string_view>

// The C library's operations on terminated texts under one name for both widths, and comparison that
// ignores the case of the letters A to Z, whatever locale the host has set. Any thread.

namespace Mw::CText
{

// The characters before the first zero, at most `limit`; nothing beyond them is read.
template <class C>
std::size_t lengthWithin(const C* text, std::size_t limit) noexcept
{
    const C* const zero = std::char_traits<C>::find(text, limit, C());
    return zero != nullptr ? static_cast<std::size_t>(zero - text) : limit;
}

inline int compare(const char* a, const char* b) noexcept
{
    return std::strcmp(a, b);
}
inline int compare(const wchar_t* a, const wchar_t* b) noexcept
{
    return std::wcscmp(a, b);
}

// Whether `count` characters are the same, zeros included. Texts of 4 to 48 bytes, the most common, are
// compared without a call or a loop: what is read from their ends and middle overlaps as far as need be.
template <class C>
[[gnu::always_inline]] inline bool same(const C* a, const C* b, std::size_t count) noexcept
{
    using Sixteen = sixteen::Bytes;
    const std::size_t sizeBytes = count * sizeof(C);
    const auto differenceAt = [=]<class Word>(std::size_t offsetBytes, Word first) -> Word
    {
        Word second;
        std::memcpy(&first, reinterpret_cast<const char*>(a) + offsetBytes, sizeof first);
        std::memcpy(&second, reinterpret_cast<const char*>(b) + offsetBytes, sizeof second);
        return first ^ second;
    };
    const auto sameEnds = [=](auto word)
    { return (differenceAt(0, word) | differenceAt(sizeBytes - sizeof word, word)) == 0; };
    const std::size_t last = sizeBytes - sizeof(Sixteen);
    if (last <= 2 * sizeof(Sixteen)) [[likely]]
        return sixteen::isZero(differenceAt(0, Sixteen()) | differenceAt(last / 2, Sixteen()) |
                               differenceAt(last, Sixteen()));
    if (sizeBytes > 48 || sizeBytes < sizeof(std::uint32_t))
        return std::memcmp(a, b, sizeBytes) == 0;
    return sizeBytes >= sizeof(std::uint64_t) ? sameEnds(std::uint64_t()) : sameEnds(std::uint32_t());
}
inline bool same(std::string_view a, std::string_view b) noexcept
{
    return a.size() == b.size() && same(a.data(), b.data(), a.size());
}

// As compare(a, b), of texts that lie in room for whole sixteens of bytes, which are read to their end: what stands
// behind the end of a text counts for nothing. The first three sixteens are compared without a call.
template <class C>
[[gnu::always_inline]] inline int compareBySixteens(const C* a, const C* b) noexcept
{
    using Number = std::conditional_t<sizeof(C) == 1, unsigned char, C>;
    constexpr std::size_t step = sixteen::charactersOf<C>;
    std::size_t at = 0;
    std::uint64_t stops = 0; // where the texts differ or end
    const auto stopsFrom = [&](std::size_t start)
    {
        const auto first = sixteen::load(a + start);
        const auto second = sixteen::load(b + start);
        at = start;
        stops = sixteen::highBits(((first == second) & second) == 0);
        return stops != 0;
    };
    if (!stopsFrom(0) && !stopsFrom(step) && !stopsFrom(2 * step))
        return compare(a + 3 * step, b + 3 * step);
    at += static_cast<std::size_t>(std::countr_zero(stops)) / sizeof(C);
    const Number first = static_cast<Number>(a[at]);
    const Number second = static_cast<Number>(b[at]);
    if constexpr (sizeof(Number) < sizeof(int))
        return first - second;
    else
        return (first > second) - (first < second);
}

// Of the first `count` characters.
inline int compare(const char* a, const char* b, std::size_t count) noexcept
{
    return std::strncmp(a, b, count);
}
inline int compare(const wchar_t* a, const wchar_t* b, std::size_t count) noexcept
{
    return std::wcsncmp(a, b, count);
}

// The first place of `what` in `text`, or null.
inline const char* find(const char* text, const char* what) noexcept
{
    return std::strstr(text, what);
}
inline const wchar_t* find(const wchar_t* text, const wchar_t* what) noexcept
{
    return std::wcsstr(text, what);
}

#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic push
// g++ 12 warns of the reads of longer texts where it has seen that a text is a short literal.
#pragma GCC diagnostic ignored "-Warray-bounds"
#endif
// Copies `count` characters, which may overlap. Short texts, the most common, are copied without a call:
// all is read before anything is written.
template <class C>
inline void move(C* to, const C* from, std::size_t count) noexcept
{
    const std::size_t sizeBytes = count * sizeof(C);
    char* const out = reinterpret_cast<char*>(to);
    const char* const in = reinterpret_cast<const char*>(from);
    const auto twice = [&](auto first)
    {
        auto last = first;
        std::memcpy(&first, in, sizeof first);
        std::memcpy(&last, in + sizeBytes - sizeof last, sizeof last);
        std::memcpy(out, &first, sizeof first);
        std::memcpy(out + sizeBytes - sizeof last, &last, sizeof last);
    };
    if (sizeBytes > 16)
        std::char_traits<C>::move(to, from, count);
    else if (sizeBytes >= 8)
        twice(std::uint64_t());
    else if (sizeBytes >= 4)
        twice(std::uint32_t());
    else if (sizeBytes >= 2)
        twice(std::uint16_t());
    else if (sizeBytes == 1)
        *out = *in;
}
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic pop
#endif

template <class C>
constexpr C toLower(C c) noexcept
{
    return c >= C('A') && c <= C('Z') ? static_cast<C>(c + ('a' - 'A')) : c;
}
template <class C>
constexpr C toUpper(C c) noexcept
{
    return c >= C('a') && c <= C('z') ? static_cast<C>(c - ('a' - 'A')) : c;
}
template <class C>
constexpr bool isDigit(C c) noexcept
{
    return c >= C('0') && c <= C('9');
}

// Three-way, without case, of at most `count` characters.
template <class C>
int compareNoCase(const C* a, const C* b, std::size_t count = static_cast<std::size_t>(-1)) noexcept
{
    using Traits = std::char_traits<C>;
    for (; count != 0; ++a, ++b, --count)
    {
        const C first = toLower(*a);
        const C second = toLower(*b);
        if (first != second)
            return Traits::lt(first, second) ? -1 : 1;
        if (first == C())
            return 0;
    }
    return 0;
}

} // namespace Mw::CText
