#pragma once

#include "Mw/CText.h"
#include "Mw/WordHash.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
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

inline bool isEqual(std::string_view a, std::string_view b) noexcept
{
    const std::size_t length = a.size();
    if (length != b.size())
        return false;
    if (length < 8)
        return folded(words::shortWord(a.data(), length)) == folded(words::shortWord(b.data(), length));
    const auto isEqualAt = [&](std::size_t at)
    { return folded(words::load<std::uint64_t>(a.data() + at)) == folded(words::load<std::uint64_t>(b.data() + at)); };
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
    while (at + 8 <= common &&
           folded(words::load<std::uint64_t>(a.data() + at)) == folded(words::load<std::uint64_t>(b.data() + at)))
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

inline std::uint64_t hashOf(std::string_view key) noexcept
{
    return words::hashOf(key, folded);
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
