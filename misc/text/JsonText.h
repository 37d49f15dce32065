#pragma once

#include "OS/Utf8.h"
#include "misc/text/JsonPool.h"

#include <algorithm>
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

inline LightweightString<wchar_t> stringOf(const Text* text)
{
    if (text == nullptr)
        return {};
    if (text->isWide)
        return LightweightString<wchar_t>(text->characters(), text->length);
    // Long ones are worth a call that takes them in blocks.
    constexpr unsigned shortLength = 16;
    if (text->length > shortLength)
        return Mw::wideFromUtf8(text->bytes(), text->length);
    LightweightString<wchar_t>::ImplPtr wide = LightweightString<wchar_t>::createImpl(text->length, true);
    const char* const bytes = text->bytes();
    wchar_t* const characters = wide->characters();
    for (unsigned i = 0; i < text->length; ++i)
        characters[i] = bytes[i];
    return LightweightString<wchar_t>(std::move(wide));
}

inline bool isSame(const Text* text, std::wstring_view other) noexcept
{
    if (text == nullptr)
        return other.empty();
    if (text->length != other.size())
        return false;
    if (text->isWide)
        return std::wmemcmp(text->characters(), other.data(), text->length) == 0;
    // Names of one length mostly differ in their first character or not at all.
    const char* const bytes = text->bytes();
    if (bytes[0] != other[0])
        return false;
    int difference = 0;
    for (std::size_t i = 1; i < other.size(); ++i)
        difference |= bytes[i] ^ other[i];
    return difference == 0;
}

inline bool isSame(const Text* text, std::string_view ascii) noexcept
{
    return text != nullptr && !text->isWide && text->length == ascii.size() &&
           Mw::CText::same(text->bytes(), ascii.data(), ascii.size());
}

} // namespace JSON
