#include "misc/base/GrowString.h"

#include "Mw/Exception.h"

namespace
{

constexpr std::size_t maxLength = 0xFFFFFFFFu;

} // namespace

void GrowString::append(std::string_view text)
{
    if (text.size() > maxLength - text_.size())
        throw Mw::Exception::BadAlloc("text too long", "misc/GrowString", __LINE__);
    text_.append(text);
}

void GrowString::resize(unsigned length)
{
    text_.resize(length);
}
