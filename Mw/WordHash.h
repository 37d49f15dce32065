#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

// Texts taken eight bytes at a time, and a hash made of that. Any thread.
namespace Mw::words
{

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

// Of each word as `changed` gives it. Differs from run to run, so that nobody can write a file whose names
// all collide; never to be stored.
template <class Change>
std::uint64_t hashOf(std::string_view text, Change changed) noexcept
{
    static const char place = 0;
    constexpr std::uint64_t factor = 0x9E3779B97F4A7C15u;
    std::uint64_t hash = reinterpret_cast<std::uintptr_t>(&place) * factor ^ text.size();
    const auto mix = [&hash, &changed](std::uint64_t word)
    {
        __extension__ using Product = unsigned __int128;
        const Product product = Product(hash ^ changed(word)) * factor;
        hash = static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64) ^ hash;
    };
    if (text.size() < 8)
        mix(shortWord(text.data(), text.size()));
    else
    {
        for (std::size_t at = 0; at + 8 < text.size(); at += 8)
            mix(load<std::uint64_t>(text.data() + at));
        mix(load<std::uint64_t>(text.data() + text.size() - 8));
    }
    return hash;
}

inline std::uint64_t hashOf(std::string_view text) noexcept
{
    return hashOf(text, [](std::uint64_t word) { return word; });
}

} // namespace Mw::words
