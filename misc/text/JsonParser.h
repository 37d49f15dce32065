#pragma once

#include "misc/text/JsonElement.h"

namespace JSON
{

// Where and why a document couldn't be read on.
struct Failure
{
    unsigned line = 0;   // from 1; 0 where no text was read at all
    unsigned column = 0; // in characters, from 1
    LightweightString<char> reason;
};

// One pass over a buffer of UTF-8 that builds the tree. It throws nothing and prints nothing: a byte that it
// can't read raises the failure flag and ends the pass. One thread at a time.
//
// The reader is lenient: brackets needn't match, commas may lack, an unknown escape stands for its letter. It is
// strict about numbers: one with an exponent fails.
class MISC_API Parser
{
public:
    // Reads the whole buffer, which has to stay until failure() was asked for.
    Parser(const char* text, unsigned int length) noexcept;

    // The first object or array of the document, even where the flag was raised by what follows it. Null if it
    // isn't complete or there is none.
    const Mw::Ptr<Element>& result() const noexcept { return result_; }

    bool failed() const noexcept { return reason_ != nullptr; }

    // Why the flag is raised, or why there is no result; otherwise without a reason.
    Failure failure() const;

    // Digits, minus and point: what a number is made of.
    static bool isNumericChar(char c) noexcept { return (c >= '0' && c <= '9') || c == '-' || c == '.'; }

private:
    friend class Pass;

    Mw::Ptr<Element> result_;
    const char* text_;
    const char* stop_;             // where the pass ended
    const char* reason_ = nullptr; // a literal while the flag is raised
};

} // namespace JSON
