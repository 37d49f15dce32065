#pragma once

#include "Mw/LightweightString.h"
#include "Mw/StdAllocator.h"
#include "OS/Export.h"
#include "misc/base/TextFile.h"
#include "misc/text/JsonLines.h"

#include <cstddef>
#include <string_view>
#include <vector>

namespace JSON
{

// Writes JSON line by line: one line for each attribute, opening and closing, with commas where they belong. What
// it writes, JSON::parse reads back as the same tree. One thread at a time.
//
// Names are escaped where they need it. A null name stands for none, as in an array: the value is written alone.
class MISC_API Builder
{
public:
    using Lines = std::vector<LightweightString<wchar_t>, StdAllocator<LightweightString<wchar_t>>>;

    // A name, or none where it's null. It is used during the call only.
    class Name
    {
    public:
        Name(std::nullptr_t) noexcept {}
        Name(const wchar_t* text) noexcept : isGiven_(text != nullptr)
        {
            if (isGiven_)
                text_ = text;
        }
        Name(const LightweightString<wchar_t>& text) noexcept : text_(text), isGiven_(true) {}
        Name(std::wstring_view text) noexcept : text_(text), isGiven_(true) {}

        std::wstring_view text() const noexcept { return text_; }
        bool isGiven() const noexcept { return isGiven_; }

    private:
        std::wstring_view text_;
        bool isGiven_ = false;
    };

    // Open a container, with a name unless that is null or empty, and close the innermost one.
    void startChild(Name name);
    void endChild();
    void startArray(Name name);
    void endArray();

    // Numbers are in fixed notation, in the fewest digits that read back as the same value of their type; one that
    // isn't finite is null.
    void add(Name name, int value);
    void add(Name name, long value);
    void add(Name name, float value);
    void add(Name name, double value);
    void add(Name name, bool value);

    // Without `escape` name and text are written as they stand, for callers that escaped them. A null text is
    // null; where there is no name the reader takes no null, and an empty text stands for it.
    void add(Name name, const LightweightString<wchar_t>& value, bool escape = true);
    void add(Name name, const wchar_t* value, bool escape = true);

    // The lines so far, without indentation.
    Lines getOutput() const;

    // Appends the lines as UTF-8, `indentStep` blanks further in for each container that is open, the outermost
    // behind `outerIndent` blanks.
    void printTo(TextFile& file, unsigned char indentStep = 4, unsigned char outerIndent = 0) const;

    // Whether the text holds a tab, line feed, carriage return, quote or backslash, and the text with those escaped;
    // itself where there are none.
    static bool needsEscaping(const LightweightString<wchar_t>& text) noexcept;
    static LightweightString<wchar_t> makePrintable(const LightweightString<wchar_t>& text);

private:
    using View = std::wstring_view;

    void open(Name name, char bracket);
    void close(char bracket);
    void addSeparator();
    template <class Write>
    void addItem(Name name, bool escape, std::size_t valueLength, Write writeValue);
    void addWord(Name name, bool escape, std::string_view word);
    void addNull(Name name, bool escape);
    void addText(Name name, View text, bool escape);
    template <class Number>
    void addNumber(Name name, Number value);

    LineList lines_;
    Buffer<wchar_t> wideLine_; // room for a line that isn't ASCII
    std::size_t depths_ = 0;   // the sum of how many containers each line lies in
    // Of each open container, outermost first, whether an item went before; the last is kept apart.
    std::vector<bool> open_;
    bool hasItems_ = false;
};

} // namespace JSON
