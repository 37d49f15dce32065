#pragma once

#include "Mw/LightweightString.h"
#include "Mw/StdAllocator.h"
#include "OS/Export.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

// A text file as its lines, in memory: made by appending lines or by loading a file, and saved whole.
// Lines are UTF-8 by convention, and nothing here looks inside them. On disk each ends with LF; a file
// with CRLF, with a byte order mark, or without an end to its last line loads as the same lines.
// One thread at a time; reading is safe from many.
class MISC_API TextFile
{
public:
    unsigned numLines() const noexcept { return static_cast<unsigned>(lineEnds_.size()); }
    bool empty() const noexcept { return lineEnds_.empty(); }

    // The line without its end, valid until the file is changed; `index` is below numLines().
    std::string_view operator[](unsigned index) const noexcept
    {
        const std::size_t start = index == 0 ? 0 : lineEnds_[index - 1] + 1;
        return {text_.data() + start, lineEnds_[index] - start};
    }

    // Line ends inside the text make several lines of it; one at its end adds an empty line.
    // `indentation` blanks go before it.
    void appendLine(std::string_view text, std::size_t indentation = 0);
    // Makes room for so many more bytes and lines at once.
    void reserve(std::size_t moreBytes, std::size_t moreLines);
    void clear() noexcept;

    // Puts the lines of the file in place of the present ones. If it can't be read, they stay, the result
    // is false and `error`, if given, says why.
    bool load(const LightweightString<wchar_t>& path, LightweightString<char>* error = nullptr);

    // Replaces the file whole, as Mw::replaceFile does. On failure the old file stands, the result is
    // false and `error`, if given, says why.
    bool save(const LightweightString<wchar_t>& path, LightweightString<char>* error = nullptr) const;

private:
    void endLineWith(std::string_view text);

    // The bytes of the file, and where in them each line's LF stands.
    std::basic_string<char, std::char_traits<char>, StdAllocator<char>> text_;
    std::vector<std::size_t> lineEnds_;
};
