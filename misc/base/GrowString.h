#pragma once

#include "Mw/LightweightString.h"
#include "Mw/StdAllocator.h"
#include "OS/Export.h"

#include <string>
#include <string_view>

// A text buffer that grows: characters are appended, changed in place and read, and a terminator always
// follows the last. Zeros inside count like any other character. It owns its memory and is no counted
// handle: a copy copies. One thread at a time.
//
// Lengths are 32 bits: growing past them throws Mw::Exception::BadAlloc and leaves the text as it was.
class MISC_API GrowString
{
public:
    GrowString() = default;
    // Null gives the empty text.
    GrowString(const char* text) { append(text); }
    GrowString(std::string_view text) { append(text); }
    GrowString(const LightweightString<char>& text) { append(text); }

    const char* c_str() const noexcept { return text_.c_str(); }
    unsigned length() const noexcept { return static_cast<unsigned>(text_.size()); }
    bool empty() const noexcept { return text_.empty(); }
    std::string_view view() const noexcept { return text_; }
    LightweightString<char> asString() const { return view(); }

    // `index` is below the length.
    char operator[](unsigned index) const noexcept { return text_[index]; }
    char& operator[](unsigned index) noexcept { return text_[index]; }

    // The text may be part of this one. Null adds nothing.
    void append(std::string_view text);
    void append(const char* text) { append(std::string_view(text != nullptr ? text : "")); }
    void append(const char* text, unsigned length) { append(std::string_view(text, text != nullptr ? length : 0)); }
    void append(const LightweightString<char>& text) { append(std::string_view(text)); }
    void append(char c) { append(std::string_view(&c, 1)); }

    // Keeps the first characters; new ones are zero.
    void resize(unsigned length);
    void reserve(unsigned length) { text_.reserve(length); }

    // Empties the text and keeps its memory for the next one.
    void clear() noexcept { text_.clear(); }
    void swap(GrowString& other) noexcept { text_.swap(other.text_); }

    friend bool operator==(const GrowString& a, std::string_view b) noexcept { return a.view() == b; }

private:
    std::basic_string<char, std::char_traits<char>, StdAllocator<char>> text_;
};
