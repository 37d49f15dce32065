#pragma once

#include "Mw/Callback.h"
#include "misc/notify/NotifierBase.h"

#include <utility>

// A registration for messages of class T.
template <class T>
class CallbackInvoker final : public CallbackInvokerBase
{
public:
    using Callback = iCallbackBase<int, T>;

    CallbackInvoker(Mw::Ptr<Callback> callback, int msgType) noexcept
        : CallbackInvokerBase(msgType), callback_(std::move(callback))
    {
    }

    Callback* callback() const noexcept { return callback_.get(); }
    const std::type_info& callbackType() const override
    {
        const Callback& callback = *callback_;
        return typeid(callback);
    }
    const void* callbackAddress() const override { return callback_.get(); }

private:
    Mw::Ptr<Callback> callback_;
};

// A point where messages of class T are published, a NotifyMsg or a NotifierEvent. Ownership and threads as
// NotifierBase has them.
//
// Who is called. Clients are called on the issuing thread, in the order in which they registered, if their
// type and that of the message match. Clients may come and go meanwhile, and messages may be issued in
// callbacks, of this notifier too:
// - A client that stays registered from the start of a walk to its end is called exactly once in it,
//   whoever else goes, by whichever callback, in whatever walks nested within.
// - A client that is gone before its turn isn't called. One that goes during its own call isn't called again;
//   its callback may be destroyed by that, while it runs.
// - A client that registers during the call of a walk's first client is called last in this walk. One that
//   registers during the call of a later client isn't called in this walk, and from then on stands directly
//   before the client during whose call it came. "First" and "later" count every client that the walk comes
//   to, those for other types of message too.
// - A message that is issued in a callback reaches everybody before the issuing callback goes on, beginning
//   with the client that is being called. A client that registers in such an inner walk stands as above for
//   the inner walk; the outer walk calls it if it comes to where it stands: behind the last client, if
//   it came in the inner walk's first call, and else directly before the client that the inner walk called.
// - An exception of a callback ends the walk: the clients behind it aren't called, the order of clients is
//   as it was, and the exception goes on to whoever issued.
// - A callback that destroys the notifier is the walk's last, for all walks in progress.
//
// Issuing allocates nothing. Registering allocates a record and a guard.
template <class T>
class MISC_API GenericNotifier : public NotifierBase
{
public:
    using Callback = iCallbackBase<int, T>;

    // Calls all clients with a copy of the message. The result of a callback is ignored.
    virtual void issueNotification(const T& msg, int type) const;

    // Makes the callback a client for messages of the type for as long as the guard lives. A null callback
    // gives a null guard.
    Mw::Ptr<Mw::Guard> registerNotification(const Mw::Ptr<Callback>& callback,
                                            int type = NotifyMsgTypeDictionary::anyType);
    Mw::Ptr<Mw::Guard> registerNotification(Mw::Ptr<Callback>&& callback, int type = NotifyMsgTypeDictionary::anyType);

protected:
    // As issueNotification, with the message that `make` gives under the lock, if there are clients.
    template <class Make>
    [[gnu::always_inline]] void issueMade(const Make& make, int type) const;

private:
    template <class Make>
    [[gnu::noinline]] void issueRecorded(const Make& make, int type) const;

    // `before` is told of each callback that is about to be called.
    template <class Make, class Before>
    [[gnu::always_inline]] void callClients(const Make& make, int type, Before before) const;
    template <class Make>
    T madeInLock(const Make& make) const;
    template <class Before>
    static void listCallback(DLListRec* record, const T& msg, int type, Before& before);
};

template <class T>
void GenericNotifier<T>::issueNotification(const T& msg, int type) const
{
    issueMade([&msg]() -> const T& { return msg; }, type);
}

template <class T>
template <class Make>
inline void GenericNotifier<T>::issueMade(const Make& make, int type) const
{
    if (NotifierRecorder::isOn()) [[unlikely]]
        return issueRecorded(make, type);
    callClients(make, type, [](const Callback&) {});
}

template <class T>
template <class Make>
void GenericNotifier<T>::issueRecorded(const Make& make, int type) const
{
    NotifierRecorder::Entry entry(*this);
    callClients(make, type, [&entry](const Callback& callback) { entry.calls(typeid(callback)); });
}

template <class T>
template <class Make, class Before>
inline void GenericNotifier<T>::callClients(const Make& make, int type, Before before) const
{
    lock_.enter();
    if (clients_.empty())
        return lock_.leave();
    // Outlives the lock: what the copy holds may have much to destroy.
    const T msg = madeInLock(make);
    clients_.apply([&msg, &before, type](DLListRec* record) { listCallback(record, msg, type, before); },
                   [this](bool stands)
                   {
                       // The lock goes with the list.
                       if (stands)
                           lock_.leave();
                   });
}

template <class T>
template <class Make>
inline T GenericNotifier<T>::madeInLock(const Make& make) const
try
{
    return make();
}
catch (...)
{
    lock_.leave();
    throw;
}

// The call comes last: it may destroy the record and the callback.
template <class T>
template <class Before>
inline void GenericNotifier<T>::listCallback(DLListRec* record, const T& msg, int type, Before& before)
{
    const auto* const invoker = static_cast<const CallbackInvoker<T>*>(record);
    if (!invoker->typeMatch(type))
        return;
    Callback* const callback = invoker->callback();
    before(*callback);
    callback->execute(msg);
}

template <class T>
Mw::Ptr<Mw::Guard> GenericNotifier<T>::registerNotification(const Mw::Ptr<Callback>& callback, int type)
{
    return registerNotification(Mw::Ptr<Callback>(callback), type);
}

template <class T>
Mw::Ptr<Mw::Guard> GenericNotifier<T>::registerNotification(Mw::Ptr<Callback>&& callback, int type)
{
    if (!callback)
        return {};
    return registerInternal(new CallbackInvoker<T>(std::move(callback), type));
}
