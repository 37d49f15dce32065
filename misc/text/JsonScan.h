#pragma once

#include <bit>
#include <cstddef>

#if defined(__x86_64__)
#include <emmintrin.h>
#endif

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

#if defined(__x86_64__)

constexpr std::ptrdiff_t scanBytes = 16;

inline __m128i bytesAt(const char* p) noexcept
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}

inline unsigned bitsWhere(__m128i bytes, char c) noexcept
{
    return static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(bytes, _mm_set1_epi8(c))));
}

inline const char* skipBlanks(const char* p, const char* end) noexcept
{
    for (; end - p >= scanBytes; p += scanBytes)
    {
        const __m128i bytes = bytesAt(p);
        const unsigned others = 0xFFFF & ~(bitsWhere(bytes, ' ') | bitsWhere(bytes, '\n') | bitsWhere(bytes, '\t') |
                                           bitsWhere(bytes, '\r'));
        if (others != 0)
            return p + std::countr_zero(others);
    }
    while (p != end && isBlank(*p))
        ++p;
    return p;
}

// The first quote or backslash, or the end. `isAscii` becomes false if there is another byte than ASCII before it.
inline const char* findTextEnd(const char* p, const char* end, bool& isAscii) noexcept
{
    for (; end - p >= scanBytes; p += scanBytes)
    {
        const __m128i bytes = bytesAt(p);
        const auto others = static_cast<unsigned>(_mm_movemask_epi8(bytes));
        const unsigned ends = bitsWhere(bytes, '"') | bitsWhere(bytes, '\\');
        if (ends != 0)
        {
            const unsigned before = ends ^ (ends - 1);
            isAscii = isAscii && (others & before) == 0;
            return p + std::countr_zero(ends);
        }
        isAscii = isAscii && others == 0;
    }
    for (; p != end && !endsText(*p); ++p)
        isAscii = isAscii && static_cast<signed char>(*p) >= 0;
    return p;
}

#else

inline const char* skipBlanks(const char* p, const char* end) noexcept
{
    while (p != end && isBlank(*p))
        ++p;
    return p;
}

inline const char* findTextEnd(const char* p, const char* end, bool& isAscii) noexcept
{
    for (; p != end && !endsText(*p); ++p)
        isAscii = isAscii && static_cast<signed char>(*p) >= 0;
    return p;
}

#endif

} // namespace JSON
