#include "OS/Utf8.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string_view>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

// Both directions go through the text once and write into room for the longest result. ASCII goes in blocks
// of characters.

namespace
{

using Byte = unsigned char;

constexpr char32_t replacement = 0xFFFD;
constexpr std::size_t blockLength = 16;
constexpr std::ptrdiff_t asciiStretch = 8;

template <class C>
bool hasBlock(const C* from, const C* end)
{
    return static_cast<std::size_t>(end - from) >= blockLength;
}

// A block is `blockLength` characters. convertBlock writes one out as if it were ASCII alone, and gives a bit
// for each character that isn't.

#if defined(__x86_64__)

__m128i load(const void* from)
{
    return _mm_loadu_si128(static_cast<const __m128i*>(from));
}

void store(void* to, __m128i value)
{
    _mm_storeu_si128(static_cast<__m128i*>(to), value);
}

// One bit for each byte's highest.
unsigned maskOf(__m128i bytes)
{
    return static_cast<unsigned>(_mm_movemask_epi8(bytes));
}

unsigned convertBlock(const Byte* from, wchar_t* to)
{
    const __m128i bytes = load(from);
    const __m128i zero = _mm_setzero_si128();
    const __m128i low = _mm_unpacklo_epi8(bytes, zero);
    const __m128i high = _mm_unpackhi_epi8(bytes, zero);
    store(to, _mm_unpacklo_epi16(low, zero));
    store(to + 4, _mm_unpackhi_epi16(low, zero));
    store(to + 8, _mm_unpacklo_epi16(high, zero));
    store(to + 12, _mm_unpackhi_epi16(high, zero));
    return maskOf(bytes);
}

unsigned convertBlock(const wchar_t* from, Byte* to)
{
    const __m128i low = _mm_packs_epi32(load(from), load(from + 4));
    const __m128i high = _mm_packs_epi32(load(from + 8), load(from + 12));
    const __m128i bytes = _mm_packus_epi16(low, high);
    store(to, bytes);
    // Each step saturates: what is above ASCII stays above, what is negative shows when signs are kept.
    return maskOf(bytes) | maskOf(_mm_packs_epi16(low, high));
}

bool isAsciiBlock(const Byte* from)
{
    return maskOf(load(from)) == 0;
}

bool isAsciiBlock(const wchar_t* from)
{
    const __m128i any =
        _mm_or_si128(_mm_or_si128(load(from), load(from + 4)), _mm_or_si128(load(from + 8), load(from + 12)));
    const __m128i above = _mm_andnot_si128(_mm_set1_epi32(0x7F), any);
    return maskOf(_mm_cmpeq_epi32(above, _mm_setzero_si128())) == 0xFFFF;
}

// Converts ASCII from the start of a long run, in steps of its own; gives how many characters it did.
[[gnu::target("avx2")]] std::size_t convertWideRun(const Byte* from, std::size_t length, wchar_t* to)
{
    std::size_t done = 0;
    for (; length - done >= 32; done += 32)
    {
        const Byte* const p = from + done;
        if (_mm256_movemask_epi8(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p))) != 0)
            break;
        for (std::size_t i = 0; i < 32; i += 8)
        {
            const __m128i eight = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p + i));
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(to + done + i), _mm256_cvtepu8_epi32(eight));
        }
    }
    return done;
}

[[gnu::target("avx2")]] std::size_t convertWideRun(const wchar_t* from, std::size_t length, Byte* to)
{
    const __m256i aboveAscii = _mm256_set1_epi32(~0x7F);
    const __m256i order = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
    std::size_t done = 0;
    for (; length - done >= 32; done += 32)
    {
        const __m256i* const p = reinterpret_cast<const __m256i*>(from + done);
        const __m256i a = _mm256_loadu_si256(p);
        const __m256i b = _mm256_loadu_si256(p + 1);
        const __m256i c = _mm256_loadu_si256(p + 2);
        const __m256i d = _mm256_loadu_si256(p + 3);
        const __m256i any = _mm256_or_si256(_mm256_or_si256(a, b), _mm256_or_si256(c, d));
        if (!_mm256_testz_si256(any, aboveAscii))
            break;
        // Packing works within halves of 16 bytes, so the words come out of order.
        const __m256i bytes = _mm256_packus_epi16(_mm256_packs_epi32(a, b), _mm256_packs_epi32(c, d));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(to + done), _mm256_permutevar8x32_epi32(bytes, order));
    }
    return done;
}

template <class From, class To>
std::size_t convertRun(const From* from, std::size_t length, To* to)
{
    return length >= 32 && __builtin_cpu_supports("avx2") ? convertWideRun(from, length, to) : 0;
}

#else

template <class C>
bool isAscii(C c)
{
    return static_cast<char32_t>(c) < 0x80;
}

template <class From, class To>
unsigned convertBlock(const From* from, To* to)
{
    unsigned others = 0;
    for (std::size_t i = 0; i < blockLength; ++i)
    {
        to[i] = static_cast<To>(from[i]);
        others |= static_cast<unsigned>(!isAscii(from[i])) << i;
    }
    return others;
}

template <class From, class To>
std::size_t convertRun(const From*, std::size_t, To*)
{
    return 0;
}

template <class From>
bool isAsciiBlock(const From* from)
{
    return std::all_of(from, from + blockLength, [](From c) { return isAscii(c); });
}

#endif

bool isContinuation(Byte b)
{
    return (b & 0xC0) == 0x80;
}

bool isCharacter(char32_t c)
{
    return c < 0xD800 || (c >= 0xE000 && c <= 0x10FFFF);
}

// Where there is no well-formed character: the length of the longest part that begins one.
std::size_t malformedLength(const Byte* p, const Byte* end)
{
    const Byte lead = p[0];
    if (lead < 0xE0 || lead > 0xF4)
        return 1;
    // After some leads the second byte has a narrower range: no overlong forms, no surrogates, nothing
    // above U+10FFFF.
    const Byte low = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
    const Byte high = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
    if (end - p < 2 || p[1] < low || p[1] > high)
        return 1;
    return lead >= 0xF0 && end - p > 2 && isContinuation(p[2]) ? 3 : 2;
}

// Puts the character at `p`, or U+FFFD for a malformed part, to `out`. Gives where the next one begins.
[[gnu::always_inline]] inline const Byte* convert(const Byte* p, const Byte* end, wchar_t*& out)
{
    const unsigned lead = p[0];
    const auto left = static_cast<std::size_t>(end - p);
    const auto bits = [p](std::size_t at, unsigned shift) { return (p[at] & 0x3Fu) << shift; };
    if (lead < 0x80)
    {
        *out++ = static_cast<wchar_t>(lead);
        return p + 1;
    }
    if (lead < 0xE0)
    {
        if (lead >= 0xC2 && left >= 2 && isContinuation(p[1]))
        {
            *out++ = static_cast<wchar_t>((lead & 0x1Fu) << 6 | bits(1, 0));
            return p + 2;
        }
    }
    else if (lead < 0xF0)
    {
        if (left >= 3 && isContinuation(p[1]) && isContinuation(p[2]))
            if (const char32_t c = (lead & 0xFu) << 12 | bits(1, 6) | bits(2, 0); c >= 0x800 && isCharacter(c))
            {
                *out++ = static_cast<wchar_t>(c);
                return p + 3;
            }
    }
    else if (lead < 0xF5 && left >= 4 && isContinuation(p[1]) && isContinuation(p[2]) && isContinuation(p[3]))
        if (const char32_t c = (lead & 0x7u) << 18 | bits(1, 12) | bits(2, 6) | bits(3, 0);
            c >= 0x10000 && isCharacter(c))
        {
            *out++ = static_cast<wchar_t>(c);
            return p + 4;
        }
    *out++ = static_cast<wchar_t>(replacement);
    return p + malformedLength(p, end);
}

[[gnu::always_inline]] inline const wchar_t* convert(const wchar_t* p, const wchar_t*, Byte*& out)
{
    const auto continuation = [](char32_t bits) { return static_cast<Byte>(0x80 | (bits & 0x3F)); };
    auto c = static_cast<char32_t>(*p);
    if (c < 0x80)
    {
        *out++ = static_cast<Byte>(c);
        return p + 1;
    }
    if (c < 0x800)
    {
        out[0] = static_cast<Byte>(0xC0 | c >> 6);
        out[1] = continuation(c);
        out += 2;
        return p + 1;
    }
    if (!isCharacter(c))
        c = replacement;
    if (c < 0x10000)
    {
        out[0] = static_cast<Byte>(0xE0 | c >> 12);
        out[1] = continuation(c >> 6);
        out[2] = continuation(c);
        out += 3;
        return p + 1;
    }
    out[0] = static_cast<Byte>(0xF0 | c >> 18);
    out[1] = continuation(c >> 12);
    out[2] = continuation(c >> 6);
    out[3] = continuation(c);
    out += 4;
    return p + 1;
}

// Converts all of a text into `out`, which has room for the most that it can take. Gives the end of the
// result. A block is written only while as many characters are left, so it stays within that room.
template <class From, class To>
To* convertAll(const From* begin, const From* end, To* out)
{
    const From* p = begin;
    while (hasBlock(p, end))
    {
        const unsigned others = convertBlock(p, out);
        if (others == 0)
        {
            p += blockLength;
            out += blockLength;
            const std::size_t run = convertRun(p, static_cast<std::size_t>(end - p), out);
            p += run;
            out += run;
            continue;
        }
        // Character by character from the first that isn't ASCII until a stretch of ASCII makes the next
        // block worth a try.
        const int ascii = std::countr_zero(others);
        p += ascii;
        out += ascii;
        const From* stretch = p;
        do
        {
            const bool isAscii = *p >= 0 && *p < 0x80;
            p = convert(p, end, out);
            if (!isAscii)
                stretch = p;
        } while (p - stretch < asciiStretch && p != end);
    }
    // A last block of ASCII may overlap what is there already.
    if (hasBlock(begin, end) && isAsciiBlock(end - blockLength))
    {
        out += end - p;
        convertBlock(end - blockLength, out - blockLength);
        return out;
    }
    while (p != end)
        p = convert(p, end, out);
    return out;
}

} // namespace

namespace Mw
{

LightweightString<wchar_t> wideFromUtf8(const char* text, std::size_t lengthBytes)
{
    // No character takes less than a byte.
    LightweightString<wchar_t> wide;
    wide.resizeFor(static_cast<unsigned>(std::min<std::size_t>(lengthBytes, std::numeric_limits<unsigned>::max())));
    if (wide.empty())
        return wide;
    const Byte* const begin = reinterpret_cast<const Byte*>(text);
    wchar_t* const out = wide.writable();
    const auto length = static_cast<unsigned>(convertAll(begin, begin + lengthBytes, out) - out);
    // The block stays if a text of this length has one of its size.
    if (length >= wide.capacity() / 2)
        wide.resize(length);
    else
        wide = LightweightString<wchar_t>(out, length);
    return wide;
}

LightweightString<char> utf8FromWide(const wchar_t* text, std::size_t length)
{
    // In slices, whose longest result fits on the stack: no character takes more than four bytes.
    constexpr std::size_t sliceLength = 1024;
    Byte chunk[sliceLength * 4];
    const auto narrowed = [&](std::size_t start)
    {
        const std::size_t slice = std::min(length - start, sliceLength);
        const Byte* const end = convertAll(text + start, text + start + slice, chunk);
        return std::string_view(reinterpret_cast<const char*>(chunk), static_cast<std::size_t>(end - chunk));
    };
    LightweightString<char> utf8(narrowed(0));
    for (std::size_t start = sliceLength; start < length; start += sliceLength)
        utf8 += narrowed(start);
    return utf8;
}

} // namespace Mw
