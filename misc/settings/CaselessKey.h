#pragma once

#include "Mw/CText.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

// Keys whose letters A to Z have no case, eight characters at a time: order, equality and hash. Any thread.
namespace Mw::caseless
{

// Eight characters with the letters A to Z as small ones; all other bytes stay, those with the top bit set
// included.
constexpr std::uint64_t folded(std::uint64_t word) noexcept
{
    constexpr std::uint64_t each = 0x0101010101010101u;
    const std::uint64_t low = word & each * 0x7F;
    const std::uint64_t fromA = low + each * (0x80 - 'A');
    const std::uint64_t pastZ = low + each * (0x80 - 'Z' - 1);
    return word | ((fromA & ~pastZ & ~word & each * 0x80) >> 2);
}

template <class Word>
Word load(const char* text) noexcept
{
    Word word;
    std::memcpy(&word, text, sizeof word);
    return word;
}

// Up to seven characters as one word; texts of one length give the same word if they are the same.
inline std::uint64_t shortWord(const char* text, std::size_t length) noexcept
{
    if (length >= 4)
        return load<std::uint32_t>(text) | std::uint64_t(load<std::uint32_t>(text + length - 4)) << 32;
    if (length == 0)
        return 0;
    const auto byteAt = [text](std::size_t at) { return std::uint64_t(static_cast<unsigned char>(text[at])); };
    return byteAt(0) | byteAt(length / 2) << 8 | byteAt(length - 1) << 16;
}

inline bool isEqual(std::string_view a, std::string_view b) noexcept
{
    const std::size_t length = a.size();
    if (length != b.size())
        return false;
    if (length < 8)
        return folded(shortWord(a.data(), length)) == folded(shortWord(b.data(), length));
    const auto isEqualAt = [&](std::size_t at)
    { return folded(load<std::uint64_t>(a.data() + at)) == folded(load<std::uint64_t>(b.data() + at)); };
    for (std::size_t at = 0; at + 8 < length; at += 8)
        if (!isEqualAt(at))
            return false;
    return isEqualAt(length - 8);
}

// By characters as unsigned bytes, small letters for large ones; a text stands behind its beginnings.
inline bool isBefore(std::string_view a, std::string_view b) noexcept
{
    const std::size_t common = std::min(a.size(), b.size());
    std::size_t at = 0;
    // The words that are equal are passed over; the characters of the one that isn't are looked at singly.
    while (at + 8 <= common && folded(load<std::uint64_t>(a.data() + at)) == folded(load<std::uint64_t>(b.data() + at)))
        at += 8;
    for (; at < common; ++at)
    {
        const auto first = static_cast<unsigned char>(CText::toLower(a[at]));
        const auto second = static_cast<unsigned char>(CText::toLower(b[at]));
        if (first != second)
            return first < second;
    }
    return a.size() < b.size();
}

// Differs from run to run, so that nobody can write a file whose keys all collide.
inline std::uint64_t hashOf(std::string_view key) noexcept
{
    static const char place = 0;
    constexpr std::uint64_t factor = 0x9E3779B97F4A7C15u;
    std::uint64_t hash = reinterpret_cast<std::uintptr_t>(&place) * factor ^ key.size();
    const auto mix = [&hash](std::uint64_t word)
    {
        __extension__ using Product = unsigned __int128;
        const Product product = Product(hash ^ folded(word)) * factor;
        hash = static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64) ^ hash;
    };
    if (key.size() < 8)
        mix(shortWord(key.data(), key.size()));
    else
    {
        for (std::size_t at = 0; at + 8 < key.size(); at += 8)
            mix(load<std::uint64_t>(key.data() + at));
        mix(load<std::uint64_t>(key.data() + key.size() - 8));
    }
    return hash;
}

// For unordered containers that are asked with any kind of text.
struct Hash
{
    using is_transparent = void;
    std::size_t operator()(std::string_view key) const noexcept { return hashOf(key); }
};
struct Equal
{
    using is_transparent = void;
    bool operator()(std::string_view a, std::string_view b) const noexcept { return isEqual(a, b); }
};

} // namespace Mw::caseless
