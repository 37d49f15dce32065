#include "misc/text/JsonBuilder.h"

#include "Mw/Assert.h"
#include "OS/Utf8.h"
#include "libmw/Text.h"
#include "misc/text/JsonScan.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string>

namespace JSON
{

namespace
{

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

// Writes the text with its escapes; gives the end of what was written.
wchar_t* escapeTo(wchar_t* out, std::wstring_view text) noexcept
{
    for (const wchar_t c : text)
    {
        const bool isEscaped = hasToBeEscaped(c);
        if (isEscaped)
            *out++ = L'\\';
        *out++ = isEscaped ? letterOf(c) : c;
    }
    return out;
}

wchar_t* put(wchar_t* out, std::wstring_view text) noexcept
{
    return std::copy(text.begin(), text.end(), out);
}

wchar_t* putPrintable(wchar_t* out, std::wstring_view text) noexcept
{
    return hasEscapes(text) ? escapeTo(out, text) : put(out, text);
}

} // namespace

void Builder::startChild(Name name)
{
    open(name, L'{');
}

void Builder::endChild()
{
    close(L'}');
}

void Builder::startArray(Name name)
{
    open(name, L'[');
}

void Builder::endArray()
{
    close(L']');
}

void Builder::open(Name name, wchar_t bracket)
{
    wchar_t* const out = beginItem(name.text().empty() ? Name(nullptr) : name, 1);
    *out = bracket;
    endLine(out + 1);
    open_.push_back(hasItems_);
    hasItems_ = false;
}

void Builder::close(wchar_t bracket)
{
    // A stray closing is written all the same; printTo reports it.
    hasItems_ = true;
    if (!open_.empty())
        open_.pop_back();
    wchar_t* const out = line_.room(1);
    *out = bracket;
    endLine(out + 1);
}

void Builder::endLine(const wchar_t* end)
{
    const wchar_t* const begin = line_.room(0);
    lines_.add(View(begin, static_cast<std::size_t>(end - begin)));
    depths_ += open_.size();
}

// A comma at the end of the line before, if an item went before in this container.
void Builder::addSeparator()
{
    if (hasItems_)
        lines_.addComma();
    hasItems_ = true;
}

// Begins a line with the name. Gives where the value goes, for which there is room.
wchar_t* Builder::beginItem(Name name, std::size_t valueLength, bool escape)
{
    constexpr View behindName = L"\" : ";
    addSeparator();
    wchar_t* out = line_.room(1 + 2 * name.text().size() + behindName.size() + valueLength);
    if (!name.isGiven())
        return out;
    *out++ = L'"';
    out = escape ? putPrintable(out, name.text()) : put(out, name.text());
    return put(out, behindName);
}

void Builder::addLine(Name name, View value)
{
    endLine(put(beginItem(name, value.size()), value));
}

// The reader takes no null without a name; an empty text is the same to it.
void Builder::addNull(Name name, bool escape)
{
    constexpr View null = L"null";
    wchar_t* const out = beginItem(name, null.size(), escape);
    endLine(put(out, name.isGiven() ? null : View(L"\"\"")));
}

void Builder::addText(Name name, View text, bool escape)
{
    wchar_t* out = beginItem(name, 2 * text.size() + 2, escape);
    *out++ = L'"';
    out = escape ? putPrintable(out, text) : put(out, text);
    *out++ = L'"';
    endLine(out);
}

template <class Number>
void Builder::addNumber(Name name, Number value)
{
    // The longest are the smallest doubles: a sign, "0.", 323 zeros and digits.
    char digits[400];
    std::to_chars_result written{};
    if constexpr (std::is_integral_v<Number>)
        written = std::to_chars(digits, std::end(digits), value);
    else if (std::isfinite(value))
        written = std::to_chars(digits, std::end(digits), value, std::chars_format::fixed);
    else
        return addNull(name, true);
    wchar_t wide[std::size(digits)];
    addLine(name, View(wide, static_cast<std::size_t>(std::copy(digits, written.ptr, wide) - wide)));
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
    addLine(name, value ? L"true" : L"false");
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
    std::string line;
    const auto append = [&](std::string_view text)
    {
        if (text.front() == '}' || text.front() == ']')
        {
            indentSize -= indentStep;
            MW_ASSERT(indentSize >= 0);
        }
        line.assign(static_cast<std::size_t>(std::max(indentSize, 0L)), ' ');
        file.appendLine(line.append(text));
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
    return hasEscapes(text);
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
