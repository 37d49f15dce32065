#include "misc/text/JsonBuilder.h"

#include "Mw/Assert.h"
#include "OS/Utf8.h"
#include "libmw/Text.h"
#include "misc/text/JsonScan.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace JSON
{

namespace
{

using View = std::wstring_view;

// What stands behind the backslash.
wchar_t letterOf(wchar_t c) noexcept
{
    switch (c)
    {
    case L'\t':
        return L't';
    case L'\n':
        return L'n';
    case L'\r':
        return L'r';
    default:
        return c;
    }
}

// What follows writes as bytes or as wide characters, and gives the end of what was written.

template <class C>
C* escapeTo(C* out, View text) noexcept
{
    for (const wchar_t c : text)
    {
        const bool isEscaped = hasToBeEscaped(c);
        if (isEscaped)
            *out++ = C('\\');
        *out++ = static_cast<C>(isEscaped ? letterOf(c) : c);
    }
    return out;
}

template <class C>
C* put(C* out, std::string_view ascii) noexcept
{
    return std::copy(ascii.begin(), ascii.end(), out);
}

// Null if the text isn't ASCII.
char* putText(char* out, View text, bool escape) noexcept
{
    const Seen seen = narrow(text, out);
    if (!seen.isAscii)
        return nullptr;
    return escape && seen.hasEscapes ? escapeTo(out, text) : out + text.size();
}
wchar_t* putText(wchar_t* out, View text, bool escape) noexcept
{
    return escape ? escapeTo(out, text) : std::copy(text.begin(), text.end(), out);
}

// Most numbers are decimals of a few places. Decimals of 15 digits are all different doubles, and those of 6 different
// floats: one that reads back as the value is its shortest. Null for other numbers.
template <class Number>
char* putDecimal(char* out, Number value) noexcept
{
    constexpr int scale = 10'000;
    constexpr Number limit = std::is_same_v<Number, float> ? Number(1e2) : Number(1e11);
    if (!(value < limit && value > -limit) || (value == 0 && std::signbit(value)))
        return nullptr;
    const auto scaled = static_cast<std::int64_t>(value * scale + (value < 0 ? Number(-0.5) : Number(0.5)));
    if (static_cast<Number>(scaled) / scale != value)
        return nullptr;
    if (scaled < 0)
        *out++ = '-';
    const auto size = static_cast<std::uint64_t>(scaled < 0 ? -scaled : scaled);
    out = std::to_chars(out, out + 20, size / scale).ptr;
    unsigned places = static_cast<unsigned>(size % scale);
    if (places != 0)
        *out++ = '.';
    for (unsigned one = scale / 10; places != 0; places %= one, one /= 10)
        *out++ = static_cast<char>('0' + places / one);
    return out;
}

} // namespace

void Builder::startChild(Name name)
{
    open(name, '{');
}

void Builder::endChild()
{
    close('}');
}

void Builder::startArray(Name name)
{
    open(name, '[');
}

void Builder::endArray()
{
    close(']');
}

void Builder::open(Name name, char bracket)
{
    addWord(name.text().empty() ? Name(nullptr) : name, true, {&bracket, 1});
    open_.push_back(hasItems_);
    hasItems_ = false;
}

void Builder::close(char bracket)
{
    // A stray closing is written all the same; printTo reports it.
    if (!open_.empty())
        open_.pop_back();
    hasItems_ = false; // no comma goes before a closing
    addWord(nullptr, true, {&bracket, 1});
}

// A comma at the end of the line before, if an item went before in this container.
void Builder::addSeparator()
{
    if (hasItems_)
        lines_.addComma();
    hasItems_ = true;
}

// Adds a line with the name and what writeValue(out) writes, which gives the end of that, or null where it isn't ASCII
// and `out` is for bytes.
template <class Write>
void Builder::addItem(Name name, bool escape, std::size_t valueLength, Write writeValue)
{
    constexpr std::string_view behindName = "\" : ";
    addSeparator();
    const auto write = [&](auto* out)
    {
        if (!name.isGiven())
            return writeValue(out);
        *out++ = '"';
        out = putText(out, name.text(), escape);
        return out != nullptr ? writeValue(put(out, behindName)) : nullptr;
    };
    const std::size_t length = 1 + 2 * name.text().size() + behindName.size() + valueLength;
    if (const char* const end = write(lines_.room(length)))
        lines_.endLine(end);
    else
    {
        wchar_t* const line = wideLine_.room(length);
        lines_.addWide(View(line, static_cast<std::size_t>(write(line) - line)));
    }
    depths_ += open_.size();
}

void Builder::addWord(Name name, bool escape, std::string_view word)
{
    addItem(name, escape, word.size(), [word](auto* out) { return put(out, word); });
}

// The reader takes no null without a name; an empty text is the same to it.
void Builder::addNull(Name name, bool escape)
{
    addWord(name, escape, name.isGiven() ? "null" : "\"\"");
}

void Builder::addText(Name name, View text, bool escape)
{
    addItem(name, escape, 2 * text.size() + 2,
            [text, escape](auto* out)
            {
                *out++ = '"';
                out = putText(out, text, escape);
                if (out != nullptr)
                    *out++ = '"';
                return out;
            });
}

template <class Number>
void Builder::addNumber(Name name, Number value)
{
    // The longest are the smallest doubles: a sign, "0.", 323 zeros and digits.
    char digits[400];
    char* end = nullptr;
    if constexpr (std::is_integral_v<Number>)
        end = std::to_chars(digits, std::end(digits), value).ptr;
    else if (!std::isfinite(value))
        return addNull(name, true);
    else if (end = putDecimal(digits, value); end == nullptr)
        end = std::to_chars(digits, std::end(digits), value, std::chars_format::fixed).ptr;
    addWord(name, true, {digits, static_cast<std::size_t>(end - digits)});
}

void Builder::add(Name name, int value)
{
    addNumber(name, value);
}

void Builder::add(Name name, long value)
{
    addNumber(name, value);
}

void Builder::add(Name name, float value)
{
    addNumber(name, value);
}

void Builder::add(Name name, double value)
{
    addNumber(name, value);
}

void Builder::add(Name name, bool value)
{
    addWord(name, true, value ? "true" : "false");
}

void Builder::add(Name name, const LightweightString<wchar_t>& value, bool escape)
{
    addText(name, value, escape);
}

void Builder::add(Name name, const wchar_t* value, bool escape)
{
    value != nullptr ? addText(name, value, escape) : addNull(name, escape);
}

Builder::Lines Builder::getOutput() const
{
    Lines lines;
    lines.reserve(lines_.size());
    lines_.forEach([&](View line) { lines.push_back(line); },
                   [&](std::string_view ascii) { lines.push_back(Mw::wideFromUtf8(ascii.data(), ascii.size())); });
    return lines;
}

void Builder::printTo(TextFile& file, unsigned char indentStep, unsigned char outerIndent) const
{
    file.reserve(lines_.sizeBytes() + indentStep * depths_ + outerIndent * lines_.size(), lines_.size());
    long indentSize = outerIndent;
    const auto append = [&](std::string_view text)
    {
        if (text.front() == '}' || text.front() == ']')
        {
            indentSize -= indentStep;
            MW_ASSERT(indentSize >= 0);
        }
        file.appendLine(text, static_cast<std::size_t>(std::max(indentSize, 0L)));
        if (text.back() == '{' || text.back() == '[')
        {
            indentSize += indentStep;
            MW_ASSERT(indentSize >= 0);
        }
    };
    lines_.forEach([&](View wide) { append(toUTF8(LightweightString<wchar_t>(wide))); }, append);
}

bool Builder::needsEscaping(const LightweightString<wchar_t>& text) noexcept
{
    return std::any_of(text.begin(), text.end(), hasToBeEscaped);
}

LightweightString<wchar_t> Builder::makePrintable(const LightweightString<wchar_t>& text)
{
    if (!needsEscaping(text))
        return text;
    // A text whose escapes might not fit is too long for a string.
    if (text.length() > LightweightString<wchar_t>::npos / 2 - 1)
        Mw::detail::throwStringTooLong();
    LightweightString<wchar_t>::ImplPtr printable = LightweightString<wchar_t>::createImpl(2 * text.length(), false);
    wchar_t* const characters = printable->characters();
    wchar_t* const end = escapeTo(characters, text);
    *end = 0;
    printable->length_ = static_cast<unsigned>(end - characters);
    return LightweightString<wchar_t>(std::move(printable));
}

} // namespace JSON
