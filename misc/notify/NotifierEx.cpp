#include "misc/notify/NotifierEx.h"

template class GenericNotifier<NotifierEvent<int>>;
template class GenericNotifier<NotifierEvent<unsigned>>;
template class GenericNotifier<NotifierEvent<LightweightString<wchar_t>>>;
template class GenericNotifier<NotifierEvent<Cookie>>;
template class NotifierEx<int>;
template class NotifierEx<unsigned>;
template class NotifierEx<LightweightString<wchar_t>>;
template class NotifierEx<Cookie>;
