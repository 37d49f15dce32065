#pragma once

#include "OS/Utf8.h"
#include "misc/text/JsonPool.h"
#include "misc/text/JsonScan.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <string_view>

namespace JSON
{

class Element;

// A name or text in a pool: ASCII in bytes, all else in wide characters, which follow the header. The empty text is
// null.
struct Text
{
    unsigned length;
    bool isWide;

    const char* bytes() const noexcept { return reinterpret_cast<const char*>(this + 1); }
    const wchar_t* characters() const noexcept { return reinterpret_cast<const wchar_t*>(this + 1); }
};

// A member of one of an element's lists: which of the values it has is told by the list.
struct Entry
{
    const Text* name;
    union
    {
        const Text* text;
        double number;
        bool truth;
        Element* child; // counted
    };
};

inline const Text* textOfAscii(Pool& pool, std::string_view bytes)
{
    if (bytes.empty())
        return nullptr;
    auto* const text = new (pool.take(sizeof(Text) + bytes.size())) Text{static_cast<unsigned>(bytes.size()), false};
    std::memcpy(text + 1, bytes.data(), bytes.size());
    return text;
}

inline const Text* textOf(Pool& pool, std::wstring_view characters)
{
    if (characters.empty())
        return nullptr;
    const auto length = static_cast<unsigned>(characters.size());
    const bool isAscii =
        std::all_of(characters.begin(), characters.end(), [](wchar_t c) { return static_cast<char32_t>(c) < 0x80; });
    auto* const text = new (pool.take(sizeof(Text) + length * (isAscii ? 1 : sizeof(wchar_t)))) Text{length, !isAscii};
    if (isAscii)
        std::transform(characters.begin(), characters.end(), reinterpret_cast<char*>(text + 1),
                       [](wchar_t c) { return static_cast<char>(c); });
    else
        std::memcpy(text + 1, characters.data(), length * sizeof(wchar_t));
    return text;
}

// Four characters of a text of either kind.
inline Wide fourOf(const wchar_t* characters) noexcept
{
    return load(characters);
}
inline Wide fourOf(const char* ascii) noexcept
{
    if constexpr (std::endian::native != std::endian::little)
        return Wide{ascii[0], ascii[1], ascii[2], ascii[3]};
    int four;
    std::memcpy(&four, ascii, sizeof four);
    using Shorts [[gnu::vector_size(16)]] = short;
    const Bytes bytes = reinterpret_cast<Bytes>(Wide{four, 0, 0, 0});
    const auto shorts = reinterpret_cast<Shorts>(
        __builtin_shufflevector(bytes, Bytes{}, 0, 16, 1, 17, 2, 18, 3, 19, 4, 20, 5, 21, 6, 22, 7, 23));
    return reinterpret_cast<Wide>(__builtin_shufflevector(shorts, Shorts{}, 0, 8, 1, 9, 2, 10, 3, 11));
}

inline LightweightString<wchar_t> stringOf(const Text* text)
{
    if (text == nullptr)
        return {};
    if (text->isWide)
        return LightweightString<wchar_t>(text->characters(), text->length);
    // Long ones are worth a call that takes them in larger pieces.
    constexpr unsigned shortLength = 16;
    if (text->length > shortLength)
        return Mw::wideFromUtf8(text->bytes(), text->length);
    LightweightString<wchar_t>::ImplPtr wide = LightweightString<wchar_t>::createImpl(text->length, true);
    const char* const bytes = text->bytes();
    wchar_t* const characters = wide->characters();
    forEachFour(
        text->length,
        [=](std::size_t at)
        {
            const Wide four = fourOf(bytes + at);
            std::memcpy(characters + at, &four, sizeof four);
        },
        [=](std::size_t at) { characters[at] = bytes[at]; });
    return LightweightString<wchar_t>(std::move(wide));
}

// Of texts of one length, which mostly differ in their first character or not at all.
template <class C>
[[gnu::always_inline]] inline bool isSame(const C* stored, const wchar_t* other, std::size_t length) noexcept
{
    if (stored[0] != other[0])
        return false;
    Wide difference{};
    wchar_t rest = 0;
    forEachFour(
        length, [&](std::size_t at) { difference |= fourOf(stored + at) ^ load(other + at); },
        [&](std::size_t at) { rest |= stored[at] ^ other[at]; });
    return rest == 0 && isZero(reinterpret_cast<Bytes>(difference));
}

[[gnu::always_inline]] inline bool isSame(const Text* text, std::wstring_view other) noexcept
{
    if (text == nullptr || text->length != other.size())
        return text == nullptr && other.empty();
    return text->isWide ? isSame(text->characters(), other.data(), other.size())
                        : isSame(text->bytes(), other.data(), other.size());
}

inline bool isSame(const Text* text, std::string_view ascii) noexcept
{
    return text != nullptr && !text->isWide && text->length == ascii.size() &&
           Mw::CText::same(text->bytes(), ascii.data(), ascii.size());
}

} // namespace JSON
