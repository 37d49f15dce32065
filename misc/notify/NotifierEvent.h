#pragma once

#include "OS/Export.h"
#include "misc/notify/NotifyMsgTypeDictionary.h"

template <class T>
class NotifierEx;

// What a typed notifier tells its clients. Type and source are written when it is issued, into the event of
// the caller, const though it is to him.
template <class T>
struct MISC_API NotifierEvent
{
    mutable int type = NotifyMsgTypeDictionary::anyType;
    mutable const NotifierEx<T>* source = nullptr;
    T value{};
};
