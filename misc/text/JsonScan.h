#pragma once

#include <bit>
#include <cstddef>
#include <cstring>
#include <string_view>

// What the reader and the writer look for in runs of characters, 16 bytes at a time where the processor can. Nothing
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

#if defined(__x86_64__)

// A vector of the compiler's, which needs no header of the system.
using Bytes [[gnu::vector_size(16)]] = char;
constexpr std::ptrdiff_t bytesAtOnce = sizeof(Bytes);

inline Bytes bytesAt(const char* p) noexcept
{
    Bytes bytes;
    std::memcpy(&bytes, p, sizeof bytes);
    return bytes;
}

using WideFour [[gnu::vector_size(16)]] = int;
using WideEight [[gnu::vector_size(16)]] = short;

inline WideFour fourAt(const wchar_t* p) noexcept
{
    WideFour characters;
    std::memcpy(&characters, p, sizeof characters);
    return characters;
}

// One bit for each byte, its highest. Comparisons set all bits of a byte or none.
template <class Vector>
unsigned highBits(Vector bytes) noexcept
{
    return static_cast<unsigned>(__builtin_ia32_pmovmskb128(reinterpret_cast<Bytes>(bytes)));
}

#endif

inline const char* skipBlanks(const char* p, const char* end) noexcept
{
#if defined(__x86_64__)
    for (; end - p >= bytesAtOnce; p += bytesAtOnce)
    {
        const Bytes bytes = bytesAt(p);
        const unsigned blanks = highBits((bytes == ' ') | (bytes == '\n') | (bytes == '\t') | (bytes == '\r'));
        if (blanks != 0xFFFF)
            return p + std::countr_one(blanks);
    }
#endif
    while (p != end && isBlank(*p))
        ++p;
    return p;
}

// The first quote or backslash, or the end. `isAscii` becomes false if there is another byte than ASCII before it.
inline const char* findTextEnd(const char* p, const char* end, bool& isAscii) noexcept
{
#if defined(__x86_64__)
    for (; end - p >= bytesAtOnce; p += bytesAtOnce)
    {
        const Bytes bytes = bytesAt(p);
        const unsigned others = highBits(bytes);
        const unsigned ends = highBits((bytes == '"') | (bytes == '\\'));
        const unsigned before = ends ^ (ends - 1); // all bits where nothing ends
        isAscii = isAscii && (others & before) == 0;
        if (ends != 0)
            return p + std::countr_zero(ends);
    }
#endif
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
#if defined(__x86_64__)
    const auto atFour = [](const wchar_t* at)
    {
        const WideFour four = fourAt(at);
        return highBits((four == '"') | (four == '\\') | (four == '\t') | (four == '\n') | (four == '\r')) != 0;
    };
    if (text.size() >= 4)
    {
        for (; end - p > 4; p += 4)
            if (atFour(p))
                return true;
        return atFour(end - 4);
    }
#endif
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
    WideFour any{};
    for (; end - p >= bytesAtOnce; p += bytesAtOnce, out += bytesAtOnce)
    {
        const WideFour a = fourAt(p);
        const WideFour b = fourAt(p + 4);
        const WideFour c = fourAt(p + 8);
        const WideFour d = fourAt(p + 12);
        any |= a | b | c | d;
        const WideEight low = __builtin_ia32_packssdw128(a, b);
        const WideEight high = __builtin_ia32_packssdw128(c, d);
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
