#include "misc/text/JsonBuilder.h"

#include "Mw/Assert.h"
#include "OS/Utf8.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace JSON
{

namespace
{

using View = std::wstring_view;

bool hasToBeEscaped(wchar_t c) noexcept
{
    return c == L'"' || c == L'\\' || c == L'\t' || c == L'\n' || c == L'\r';
}

bool needsEscaping(View text) noexcept
{
    return std::any_of(text.begin(), text.end(), hasToBeEscaped);
}

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
wchar_t* escape(View text, wchar_t* out) noexcept
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

} // namespace

void Builder::startChild(const wchar_t* name)
{
    open(name, L'{');
}

void Builder::endChild()
{
    close(L'}');
}

void Builder::startArray(const wchar_t* name)
{
    open(name, L'[');
}

void Builder::endArray()
{
    close(L']');
}

void Builder::open(const wchar_t* name, wchar_t bracket)
{
    beginItem(name != nullptr && *name != 0 ? name : nullptr);
    output_.push_back(bracket);
    endLine();
    open_.push_back(hasItems_);
    hasItems_ = false;
}

void Builder::close(wchar_t bracket)
{
    output_.push_back(bracket);
    endLine();
    // A stray closing is written all the same; printTo reports it.
    hasItems_ = true;
    if (!open_.empty())
        open_.pop_back();
}

// The line before ends here, with a comma if an item went before in this container.
void Builder::addSeparator()
{
    if (hasItems_)
    {
        output_.push_back(L',');
        ++lineEnds_.back();
    }
    hasItems_ = true;
}

void Builder::beginItem(const wchar_t* name, bool escape)
{
    addSeparator();
    if (name == nullptr)
        return;
    output_.push_back(L'"');
    escape ? appendPrintable(name) : append(name);
    append(L"\" : ");
}

void Builder::endLine()
{
    lineEnds_.push_back(output_.size());
}

void Builder::appendPrintable(View text)
{
    if (!JSON::needsEscaping(text))
        return append(text);
    const std::size_t start = output_.size();
    output_.resize(start + 2 * text.size());
    const wchar_t* const end = escape(text, output_.data() + start);
    output_.resize(static_cast<std::size_t>(end - output_.data()));
}

// The reader takes no null without a name; an empty text is the same to it.
void Builder::appendNull(const wchar_t* name)
{
    append(name != nullptr ? L"null" : L"\"\"");
}

template <class Number>
void Builder::addNumber(const wchar_t* name, Number value)
{
    // The longest are the smallest doubles: a sign, "0.", 323 zeros and digits.
    char digits[400];
    const char* end = nullptr;
    if constexpr (std::is_floating_point_v<Number>)
        end = std::isfinite(value) ? std::to_chars(digits, std::end(digits), value, std::chars_format::fixed).ptr
                                   : nullptr;
    else
        end = std::to_chars(digits, std::end(digits), value).ptr;
    beginItem(name);
    if (end != nullptr)
        output_.append(static_cast<const char*>(digits), end);
    else
        appendNull(name);
    endLine();
}

void Builder::add(const wchar_t* name, int value)
{
    addNumber(name, value);
}

void Builder::add(const wchar_t* name, long value)
{
    addNumber(name, value);
}

void Builder::add(const wchar_t* name, float value)
{
    addNumber(name, value);
}

void Builder::add(const wchar_t* name, double value)
{
    addNumber(name, value);
}

void Builder::add(const wchar_t* name, bool value)
{
    beginItem(name);
    append(value ? L"true" : L"false");
    endLine();
}

void Builder::add(const wchar_t* name, const LightweightString<wchar_t>& value, bool escape)
{
    appendText(name, value, escape);
}

void Builder::add(const wchar_t* name, const wchar_t* value, bool escape)
{
    if (value != nullptr)
        return appendText(name, value, escape);
    beginItem(name, escape);
    appendNull(name);
    endLine();
}

void Builder::appendText(const wchar_t* name, View text, bool escape)
{
    beginItem(name, escape);
    output_.push_back(L'"');
    escape ? appendPrintable(text) : append(text);
    output_.push_back(L'"');
    endLine();
}

Builder::Lines Builder::getOutput() const
{
    Lines lines;
    lines.reserve(lineEnds_.size());
    std::size_t start = 0;
    for (const std::size_t end : lineEnds_)
    {
        lines.push_back(View(output_).substr(start, end - start));
        start = end;
    }
    return lines;
}

void Builder::printTo(TextFile& file, unsigned char indentSize_, unsigned char outerIndent) const
{
    const long step = indentSize_;
    long indentSize = outerIndent;
    LightweightString<char> line;
    std::size_t start = 0;
    for (const std::size_t end : lineEnds_)
    {
        const View text = View(output_).substr(start, end - start);
        start = end;
        if (text.front() == L'}' || text.front() == L']')
        {
            indentSize -= step;
            MW_ASSERT(indentSize >= 0);
        }
        line = LightweightString<char>(static_cast<unsigned>(std::max(indentSize, 0l)), ' ') +
               Mw::utf8FromWide(text.data(), text.size());
        file.appendLine(line);
        if (text.back() == L'{' || text.back() == L'[')
        {
            indentSize += step;
            MW_ASSERT(indentSize >= 0);
        }
    }
}

bool Builder::needsEscaping(const LightweightString<wchar_t>& text) noexcept
{
    return JSON::needsEscaping(text);
}

LightweightString<wchar_t> Builder::makePrintable(const LightweightString<wchar_t>& text)
{
    if (!needsEscaping(text))
        return text;
    LightweightString<wchar_t>::ImplPtr printable = LightweightString<wchar_t>::createImpl(2 * text.length(), false);
    const wchar_t* const end = escape(text, printable->characters());
    printable->length_ = static_cast<unsigned>(end - printable->characters());
    printable->characters()[printable->length_] = 0;
    return LightweightString<wchar_t>(std::move(printable));
}

} // namespace JSON
