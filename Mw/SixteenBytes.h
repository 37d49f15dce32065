#pragma once

#include <cstddef>
#include <cstring>
#include <type_traits>

// Sixteen bytes of a text as one value, for searches and comparisons that take so many at once. They are vectors of
// the compiler's, which need no header of the system. Any thread.
namespace Mw::sixteen
{

using Bytes [[gnu::vector_size(16)]] = char;
using Wide [[gnu::vector_size(16)]] = int;

template <class C>
using Vector = std::conditional_t<sizeof(C) == 1, Bytes, Wide>;

// How many characters that are.
template <class C>
constexpr std::size_t charactersOf = sizeof(Bytes) / sizeof(C);

template <class C>
Vector<C> load(const C* text) noexcept
{
    Vector<C> characters;
    std::memcpy(&characters, text, sizeof characters);
    return characters;
}

// One bit for each byte, its highest; the first byte's is the lowest. Comparisons set all bits of a character or none.
template <class V>
unsigned highBits(V vector) noexcept
{
    const Bytes bytes = reinterpret_cast<Bytes>(vector);
#if defined(__x86_64__)
    return static_cast<unsigned>(__builtin_ia32_pmovmskb128(bytes));
#else
    unsigned bits = 0;
    for (unsigned i = 0; i < sizeof bytes; ++i)
        bits |= unsigned(static_cast<signed char>(bytes[i]) < 0) << i;
    return bits;
#endif
}

inline bool isZero(Bytes bytes) noexcept
{
    return highBits(bytes == 0) == 0xFFFF;
}

} // namespace Mw::sixteen
