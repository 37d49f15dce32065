#pragma once

#include "Mw/LightweightString.h"

// A field of free text, as settings and configuration tables store it under the type "textdata". A plain
// value: any thread, each with its own.
class strp_field
{
public:
    strp_field() = default;
    explicit strp_field(const LightweightString<char>& text) : text_(text) {}

    // Takes the text as it stands. Null empties the field.
    void fromString(const char* text) { text_ = text; }

    const LightweightString<char>& asString() const noexcept { return text_; }
    const char* c_str() const noexcept { return text_.c_str(); }
    bool empty() const noexcept { return text_.empty(); }

    friend bool operator==(const strp_field& a, const strp_field& b) noexcept { return a.text_ == b.text_; }

private:
    LightweightString<char> text_;
};
