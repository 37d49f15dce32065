#pragma once

#include "OS/Utf8.h"
#include "misc/text/JsonPool.h"

#include <algorithm>
#include <cstring>
#include <iterator>
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
    wchar_t wide[32];
    if (text->length > std::size(wide))
        return Mw::wideFromUtf8(text->bytes(), text->length);
    std::copy_n(text->bytes(), text->length, wide);
    return LightweightString<wchar_t>(wide, text->length);
}

inline bool isSame(const Text* text, std::wstring_view other) noexcept
{
    if (text == nullptr)
        return other.empty();
    if (text->length != other.size())
        return false;
    if (text->isWide)
        return std::wmemcmp(text->characters(), other.data(), text->length) == 0;
    const char* const bytes = text->bytes();
    for (unsigned i = 0; i < text->length; ++i)
        if (bytes[i] != other[i])
            return false;
    return true;
}

inline bool isSame(const Text* text, std::string_view ascii) noexcept
{
    return text != nullptr && !text->isWide && text->length == ascii.size() &&
           Mw::CText::same(text->bytes(), ascii.data(), ascii.size());
}

} // namespace JSON
