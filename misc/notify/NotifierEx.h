#pragma once

#include "Mw/LightweightString.h"
#include "misc/identity/Cookie.h"
#include "misc/notify/GenericNotifier.h"
#include "misc/notify/NotifierEvent.h"

// A notifier whose messages are values of T. What holds of order, reentrancy, locks and threads is that of
// every notifier.
template <class T>
class MISC_API NotifierEx : public GenericNotifier<NotifierEvent<T>>
{
public:
    using Event = NotifierEvent<T>;

    NotifierEx() noexcept = default;

    // Tells the clients, if there are any, with the type "destroy!" and a default value; also when the program
    // crashes, unlike a Notifier.
    ~NotifierEx() override;

    // Writes the type and this as the source into the caller's event, then calls the clients of that type.
    void issueNotification(const Event& event, int type) const override;
};

template <class T>
NotifierEx<T>::~NotifierEx()
{
    constexpr int type = NotifyMsgTypeDictionary::destroyType;
    this->issueMade([this] { return Event{type, this, T()}; }, type);
}

template <class T>
void NotifierEx<T>::issueNotification(const Event& event, int type) const
{
    event.type.write(type);
    event.source.write(this);
    GenericNotifier<Event>::issueNotification(event, type);
}

extern template class GenericNotifier<NotifierEvent<int>>;
extern template class GenericNotifier<NotifierEvent<unsigned>>;
extern template class GenericNotifier<NotifierEvent<LightweightString<wchar_t>>>;
extern template class GenericNotifier<NotifierEvent<Cookie>>;
extern template class NotifierEx<int>;
extern template class NotifierEx<unsigned>;
extern template class NotifierEx<LightweightString<wchar_t>>;
extern template class NotifierEx<Cookie>;
