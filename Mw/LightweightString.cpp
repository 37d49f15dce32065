#include "Mw/LightweightString.h"

#include "Mw/Exception.h"

template class LightweightString<char>;
template class LightweightString<wchar_t>;

void Mw::detail::throwStringTooLong()
{
    throw Exception::BadAlloc("String too long", "Mw/LightweightString", __LINE__);
}
