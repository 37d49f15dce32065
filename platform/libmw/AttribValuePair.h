#pragma once

#include "Mw/LightweightString.h"
#include "OS/Export.h"

namespace Mw
{

// A name and a value, and their text form: name, separator, value. One thread at a time.
class LIBMW_API AttribValuePair
{
public:
    // A pair that is to be joined by this separator.
    AttribValuePair(const LightweightString<char>& name, const LightweightString<char>& value, char separator);

    // Reads the text form: the name ends at the first separator, and the value is all the rest, further
    // separators included. A text without a separator is all name, and the pair is not valid.
    AttribValuePair(const LightweightString<char>& text, char separator);

    // Whether the pair has a name, and its text form would read back as the same pair.
    bool valid() const { return valid_; }

    const LightweightString<char>& name() const { return name_; }
    const LightweightString<char>& value() const { return value_; }

    LightweightString<char> asString(char separator) const;

private:
    LightweightString<char> name_;
    LightweightString<char> value_;
    bool valid_;
};

} // namespace Mw
