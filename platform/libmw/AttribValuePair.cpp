#include "libmw/AttribValuePair.h"

namespace Mw
{

AttribValuePair::AttribValuePair(const LightweightString<char>& name, const LightweightString<char>& value,
                                 char separator)
    : name_(name), value_(value), valid_(!name.empty() && name.find(separator) == name.npos)
{
}

AttribValuePair::AttribValuePair(const LightweightString<char>& text, char separator) : name_(text), valid_(false)
{
    const unsigned end = text.find(separator);
    if (end == text.npos)
        return;
    name_ = text.substr(0, end);
    value_ = text.substr(end + 1);
    valid_ = !name_.empty();
}

LightweightString<char> AttribValuePair::asString(char separator) const
{
    LightweightString<char> text(name_);
    text.push_back(separator);
    return text += value_;
}

} // namespace Mw
