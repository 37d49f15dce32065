#include "Mw/LightweightString.h"

#include "Mw/Exception.h"

template <class C>
const C LightweightString<C>::terminator[1] = {C()};

template class LightweightString<char>;
template class LightweightString<wchar_t>;

void Mw::detail::throwStringTooLong()
{
    throw Exception::BadAlloc("String too long", "Mw/LightweightString", __LINE__);
}
