#include "libmw/Text.h"

#include "OS/Utf8.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <limits>
#include <string>
#include <string_view>

namespace
{

template <class C>
constexpr C lower(C c) noexcept
{
    return c >= 'A' && c <= 'Z' ? static_cast<C>(c + ('a' - 'A')) : c;
}

template <class C>
constexpr C upper(C c) noexcept
{
    return c >= 'a' && c <= 'z' ? static_cast<C>(c - ('a' - 'A')) : c;
}

template <class C>
constexpr bool isWhiteSpace(C c) noexcept
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

// The folded text; the text itself, still shared, if each character is its own image.
template <class C>
LightweightString<C> folded(const LightweightString<C>& text, C (*fold)(C) noexcept)
{
    const std::basic_string_view<C> source(text);
    if (std::all_of(source.begin(), source.end(), [=](C c) { return fold(c) == c; }))
        return text;
    LightweightString<C> result;
    result.resizeFor(text.length());
    std::transform(source.begin(), source.end(), result.writable(), fold);
    return result;
}

template <class C>
LightweightString<C> concatenate(const C* left, const LightweightString<C>& right)
{
    const auto length = left != nullptr ? std::char_traits<C>::length(left) : 0;
    return LightweightString<C>::join(left, static_cast<unsigned>(length), right.c_str(), right.length());
}

// The text of a number, made in a buffer of its own.
template <class N>
class NumberText
{
public:
    explicit NumberText(N value) { end_ = std::to_chars(buffer_, std::end(buffer_), value).ptr; }

    std::string_view view() const { return {buffer_, end_}; }

private:
    char buffer_[std::numeric_limits<N>::digits10 + 3];
    const char* end_;
};

LightweightString<wchar_t> widened(std::string_view text)
{
    return Mw::wideFromUtf8(text.data(), text.size());
}

std::chars_format floatFormat(char letter)
{
    switch (letter)
    {
    case 'f':
        return std::chars_format::fixed;
    case 'e':
        return std::chars_format::scientific;
    default:
        return std::chars_format::general;
    }
}

// Cuts zeros off the end of the fraction, which an exponent may follow.
void trimFraction(std::string& number)
{
    const std::size_t point = number.find('.');
    if (point == std::string::npos)
        return;
    const std::size_t end = std::min(number.find('e', point), number.size());
    std::size_t kept = number.find_last_not_of('0', end - 1);
    if (kept != point)
        ++kept;
    number.erase(kept, end - kept);
}

template <class C>
std::basic_string_view<C> withoutWhiteSpaceAround(std::basic_string_view<C> text)
{
    while (!text.empty() && isWhiteSpace(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && isWhiteSpace(text.back()))
        text.remove_suffix(1);
    return text;
}

} // namespace

LightweightString<char> toUTF8(const LightweightString<wchar_t>& text)
{
    return Mw::utf8FromWide(text.c_str(), text.length());
}

LightweightString<wchar_t> fromUTF8(const LightweightString<char>& text)
{
    return Mw::wideFromUtf8(text.c_str(), text.length());
}

LightweightString<wchar_t> fromUTF8(const char* text, int lengthBytes)
{
    if (text == nullptr)
        return {};
    return Mw::wideFromUtf8(text, lengthBytes < 0 ? std::strlen(text) : static_cast<std::size_t>(lengthBytes));
}

void toLower(LightweightString<char>& text)
{
    text = folded<char>(text, lower);
}

void toUpper(LightweightString<char>& text)
{
    text = folded<char>(text, upper);
}

LightweightString<char> toLower(const LightweightString<char>& text)
{
    return folded<char>(text, lower);
}

LightweightString<char> toUpper(const LightweightString<char>& text)
{
    return folded<char>(text, upper);
}

bool isEssentiallyEmpty(const LightweightString<char>& text)
{
    const char* c = text.c_str();
    while (isWhiteSpace(*c))
        ++c;
    return *c == 0;
}

LightweightString<char> StringFromInteger(int value)
{
    return NumberText(value).view();
}

LightweightString<char> StringFromFloat(double value)
{
    // The longest: a sign, "0.", 323 zeros and 17 digits.
    char buffer[400];
    const auto end = std::to_chars(buffer, std::end(buffer), value, std::chars_format::fixed).ptr;
    return std::string_view(buffer, end);
}

LightweightString<char> operator+(const char* left, const LightweightString<char>& right)
{
    return concatenate(left, right);
}

LightweightString<wchar_t> operator+(const wchar_t* left, const LightweightString<wchar_t>& right)
{
    return concatenate(left, right);
}

LightweightString<char>& operator+=(LightweightString<char>& text, int value)
{
    return text += NumberText(value).view();
}

LightweightString<char>& operator+=(LightweightString<char>& text, unsigned int value)
{
    return text += NumberText(value).view();
}

namespace Mw
{

void toUpper(LightweightString<wchar_t>& text)
{
    text = folded<wchar_t>(text, upper);
}

LightweightString<wchar_t> toUpper(const LightweightString<wchar_t>& text)
{
    return folded<wchar_t>(text, upper);
}

bool endsWith(const LightweightString<wchar_t>& text, wchar_t c, bool caseSensitive)
{
    if (text.empty())
        return false;
    const wchar_t last = text.c_str()[text.length() - 1];
    return caseSensitive ? last == c : upper(last) == upper(c);
}

void stripLeadingChars(LightweightString<wchar_t>& text, wchar_t c)
{
    const std::wstring_view view(text);
    const std::size_t first = std::min(view.find_first_not_of(c), view.size());
    if (first != 0)
        text = text.substr(static_cast<unsigned>(first), 0xFFFFFFFFu);
}

void stripTrailingChars(LightweightString<wchar_t>& text, wchar_t c)
{
    const std::wstring_view view(text);
    const std::size_t length = view.find_last_not_of(c) + 1;
    if (length != view.size())
        text = text.substr(0, static_cast<unsigned>(length));
}

LightweightString<wchar_t> WStringFromInteger(long value)
{
    return widened(NumberText(value).view());
}

LightweightString<wchar_t> WStringFromFloat(double value, char format, bool trimZeros)
{
    // The longest: a sign, 309 digits, the point and six decimals.
    char buffer[400];
    const auto end = std::to_chars(buffer, std::end(buffer), value, floatFormat(format), 6).ptr;
    std::string number(buffer, end);
    if (trimZeros)
        trimFraction(number);
    return widened(number);
}

int IntFromWString(const LightweightString<wchar_t>& text, int otherwise)
{
    std::wstring_view number = withoutWhiteSpaceAround(std::wstring_view(text));
    const bool negative = number.starts_with(L'-');
    if (negative || number.starts_with(L'+'))
        number.remove_prefix(1);
    if (number.empty())
        return otherwise;

    const long long limit = std::numeric_limits<int>::max() + (negative ? 1LL : 0LL);
    long long value = 0;
    for (const wchar_t c : number)
    {
        if (c < L'0' || c > L'9')
            return otherwise;
        value = value * 10 + (c - L'0');
        if (value > limit)
            return otherwise;
    }
    return static_cast<int>(negative ? -value : value);
}

LightweightString<wchar_t> WStringFromAscii(const char* text)
{
    return fromUTF8(text);
}

} // namespace Mw
