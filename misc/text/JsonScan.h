#pragma once

#include <bit>
#include <cstddef>
#include <cstring>

// What the reader looks for in long runs of bytes, 16 at a time where the processor can. Nothing at or past `end`
// is read.
namespace JSON
{

inline bool isBlank(char c) noexcept
{
    return c == ' ' || c == '\n' || c == '\t' || c == '\r';
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

} // namespace JSON
