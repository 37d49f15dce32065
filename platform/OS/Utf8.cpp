#include "OS/Utf8.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

// Both directions go the same way: measure the result, make a block of just that size, fill it. Runs of
// ASCII are measured and copied sixteen characters at a time.

namespace
{

using Byte = unsigned char;

constexpr char32_t replacement = 0xFFFD;
constexpr std::size_t blockLength = 16;

#if defined(__SSE2__)

__m128i load(const void* from)
{
    return _mm_loadu_si128(static_cast<const __m128i*>(from));
}

void store(void* to, __m128i value)
{
    _mm_storeu_si128(static_cast<__m128i*>(to), value);
}

// Whether a block holds ASCII alone; if so it is written out in the other form.
bool widenBlock(const Byte* from, wchar_t* to)
{
    const __m128i bytes = load(from);
    if (_mm_movemask_epi8(bytes) != 0)
        return false;
    const __m128i zero = _mm_setzero_si128();
    const __m128i low = _mm_unpacklo_epi8(bytes, zero);
    const __m128i high = _mm_unpackhi_epi8(bytes, zero);
    store(to, _mm_unpacklo_epi16(low, zero));
    store(to + 4, _mm_unpackhi_epi16(low, zero));
    store(to + 8, _mm_unpacklo_epi16(high, zero));
    store(to + 12, _mm_unpackhi_epi16(high, zero));
    return true;
}

bool narrowBlock(const wchar_t* from, Byte* to)
{
    const __m128i a = load(from);
    const __m128i b = load(from + 4);
    const __m128i c = load(from + 8);
    const __m128i d = load(from + 12);
    const __m128i any = _mm_or_si128(_mm_or_si128(a, b), _mm_or_si128(c, d));
    const __m128i above = _mm_andnot_si128(_mm_set1_epi32(0x7F), any);
    if (_mm_movemask_epi8(_mm_cmpeq_epi32(above, _mm_setzero_si128())) != 0xFFFF)
        return false;
    store(to, _mm_packus_epi16(_mm_packs_epi32(a, b), _mm_packs_epi32(c, d)));
    return true;
}

// How many bytes of a block begin a character, if the text is well-formed: those not of the form 10xxxxxx.
std::size_t leadsInBlock(const Byte* from)
{
    const __m128i isLead = _mm_cmpgt_epi8(load(from), _mm_set1_epi8(static_cast<char>(0xBF)));
    return static_cast<std::size_t>(__builtin_popcount(static_cast<unsigned>(_mm_movemask_epi8(isLead))));
}

#else

bool widenBlock(const Byte* from, wchar_t* to)
{
    std::uint64_t words[2];
    std::memcpy(words, from, sizeof words);
    if (((words[0] | words[1]) & 0x8080808080808080u) != 0)
        return false;
    std::copy(from, from + blockLength, to);
    return true;
}

bool narrowBlock(const wchar_t* from, Byte* to)
{
    std::uint32_t any = 0;
    for (std::size_t i = 0; i < blockLength; ++i)
        any |= static_cast<std::uint32_t>(from[i]);
    if (any >= 0x80)
        return false;
    for (std::size_t i = 0; i < blockLength; ++i)
        to[i] = static_cast<Byte>(from[i]);
    return true;
}

std::size_t leadsInBlock(const Byte* from)
{
    return static_cast<std::size_t>(std::count_if(from, from + blockLength, [](Byte b) { return (b & 0xC0) != 0x80; }));
}

#endif

// How many bytes begin a character, if the text is well-formed.
std::size_t countLeads(const Byte* p, const Byte* end)
{
    std::size_t leads = 0;
    for (; static_cast<std::size_t>(end - p) >= blockLength; p += blockLength)
        leads += leadsInBlock(p);
    for (; p != end; ++p)
        leads += (*p & 0xC0) != 0x80;
    return leads;
}

struct Decoded
{
    char32_t character;
    unsigned lengthBytes;
    bool good;
};

// The character at `p`, or the longest part there that begins one and cannot end it.
inline Decoded decode(const Byte* p, const Byte* end)
{
    const Byte lead = p[0];
    const auto left = static_cast<std::size_t>(end - p);
    const auto continues = [&](std::size_t at) { return at < left && (p[at] & 0xC0) == 0x80; };
    if (lead < 0x80)
        return {lead, 1, true};
    if (lead < 0xC2 || lead > 0xF4)
        return {replacement, 1, false};
    if (lead < 0xE0)
    {
        if (!continues(1))
            return {replacement, 1, false};
        return {(lead & 0x1Fu) << 6 | (p[1] & 0x3Fu), 2, true};
    }
    // The second byte of some leads has a narrower range: no overlong forms, no surrogates, nothing
    // above U+10FFFF.
    const Byte low = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
    const Byte high = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
    if (left < 2 || p[1] < low || p[1] > high)
        return {replacement, 1, false};
    if (!continues(2))
        return {replacement, 2, false};
    if (lead < 0xF0)
        return {(lead & 0xFu) << 12 | (p[1] & 0x3Fu) << 6 | (p[2] & 0x3Fu), 3, true};
    if (!continues(3))
        return {replacement, 3, false};
    return {(lead & 0x7u) << 18 | (p[1] & 0x3Fu) << 12 | (p[2] & 0x3Fu) << 6 | (p[3] & 0x3Fu), 4, true};
}

// The length of any text, well-formed or not.
std::size_t countCharacters(const Byte* p, const Byte* end)
{
    std::size_t count = 0;
    for (; p != end; ++count)
        p += decode(p, end).lengthBytes;
    return count;
}

// Writes the characters; with `untilBad` it stops at the first bad part and gives false.
bool widenInto(const Byte* p, const Byte* end, wchar_t* out, bool untilBad)
{
    while (p != end)
    {
        while (static_cast<std::size_t>(end - p) >= blockLength && widenBlock(p, out))
        {
            p += blockLength;
            out += blockLength;
        }
        // Within a block that isn't ASCII alone, or in the last few bytes.
        const Byte* const blockEnd = end - p < static_cast<std::ptrdiff_t>(blockLength) ? end : p + blockLength;
        while (p < blockEnd)
        {
            const Decoded decoded = decode(p, end);
            if (!decoded.good && untilBad)
                return false;
            *out++ = static_cast<wchar_t>(decoded.character);
            p += decoded.lengthBytes;
        }
    }
    return true;
}

inline bool isCharacter(char32_t c)
{
    return c < 0xD800 || (c >= 0xE000 && c <= 0x10FFFF);
}

std::size_t countBytes(const wchar_t* p, const wchar_t* end)
{
    std::size_t count = 0;
    for (; p != end; ++p)
    {
        const auto c = static_cast<char32_t>(*p);
        // What is no character takes the three bytes of U+FFFD.
        count += 1u + (c >= 0x80) + (c >= 0x800) + (c >= 0x10000 && c <= 0x10FFFF);
    }
    return count;
}

inline Byte* encode(char32_t c, Byte* out)
{
    const auto continuation = [](char32_t bits) { return static_cast<Byte>(0x80 | (bits & 0x3F)); };
    if (c < 0x80)
    {
        *out++ = static_cast<Byte>(c);
        return out;
    }
    if (c < 0x800)
    {
        *out++ = static_cast<Byte>(0xC0 | c >> 6);
        *out++ = continuation(c);
        return out;
    }
    if (!isCharacter(c))
        c = replacement;
    if (c < 0x10000)
        *out++ = static_cast<Byte>(0xE0 | c >> 12);
    else
    {
        *out++ = static_cast<Byte>(0xF0 | c >> 18);
        *out++ = continuation(c >> 12);
    }
    *out++ = continuation(c >> 6);
    *out++ = continuation(c);
    return out;
}

void narrowInto(const wchar_t* p, const wchar_t* end, Byte* out)
{
    while (p != end)
    {
        while (static_cast<std::size_t>(end - p) >= blockLength && narrowBlock(p, out))
        {
            p += blockLength;
            out += blockLength;
        }
        const wchar_t* const blockEnd = end - p < static_cast<std::ptrdiff_t>(blockLength) ? end : p + blockLength;
        for (; p != blockEnd; ++p)
            out = encode(static_cast<char32_t>(*p), out);
    }
}

// A string for the caller to fill. One that is too long throws, as the string itself does.
template <class C>
LightweightString<C> stringOf(std::size_t length)
{
    LightweightString<C> string;
    string.resizeFor(static_cast<unsigned>(std::min<std::size_t>(length, std::numeric_limits<unsigned>::max())));
    return string;
}

} // namespace

namespace Mw
{

LightweightString<wchar_t> wideFromUtf8(const char* text, std::size_t lengthBytes)
{
    if (lengthBytes == 0)
        return {};
    const Byte* const begin = reinterpret_cast<const Byte*>(text);
    const Byte* const end = begin + lengthBytes;
    // A text without a lead is malformed from its start.
    const std::size_t leads = countLeads(begin, end);
    LightweightString<wchar_t> wide = stringOf<wchar_t>(leads);
    if (leads != 0 && widenInto(begin, end, wide.writable(), true))
        return wide;
    wide = stringOf<wchar_t>(countCharacters(begin, end));
    widenInto(begin, end, wide.writable(), false);
    return wide;
}

LightweightString<char> utf8FromWide(const wchar_t* text, std::size_t length)
{
    if (length == 0)
        return {};
    const wchar_t* const end = text + length;
    LightweightString<char> utf8 = stringOf<char>(countBytes(text, end));
    narrowInto(text, end, reinterpret_cast<Byte*>(utf8.writable()));
    return utf8;
}

} // namespace Mw
