#pragma once

#include "misc/notify/ValServer.h"

#include "Mw/Guard.h"
#include "Mw/Vector.h"
#include "misc/notify/Notifiable.h"

#include <atomic>
#include <cstring>
#include <utility>

// One server that a multi-client watches.
class MISC_API ValClientReceiverBase : public DLListRec
{
public:
    explicit ValClientReceiverBase(ValServerBase* server) : server(server) {}

    ValServerBase* const server;
};

// What is the same in multi-clients of all types: the list of servers. One thread at a time.
class MISC_API ValClientBase
{
public:
    ValClientBase();
    ValClientBase(const ValClientBase&) = delete;
    ValClientBase& operator=(const ValClientBase&) = delete;
    virtual ~ValClientBase();

    // The value of `server` has changed, or is about to.
    virtual void valChangedNtfy(ValServerBase* server) = 0;
    virtual void valPreChangedNtfy(ValServerBase*) {}

    // The server that has been watched longest is the first; null for an index out of range.
    ValServerBase* getValServer(int index) const;

    // Null if the server isn't watched.
    ValClientReceiverBase* findReceiver(ValServerBase* server) const;

    // Watches the server no longer; false if it wasn't watched.
    bool deregisterFrom(ValServerBase* server);

protected:
    // While it is above 0, changes are not told; those to come still are.
    std::atomic<int> inhibitCount{0};

    DLList receivers;
};

template <class T>
class MISC_API MultiValClient; // clang takes the visibility of the first declaration

namespace detail
{

// The texts of a manager's messages.
MISC_API extern const char startBatchText[];
MISC_API extern const char endBatchText[];

} // namespace detail

// One server of type T, and the registration with it, which ends with the receiver.
template <class T>
class MISC_API ValClientReceiver : public ValClientReceiverBase
{
public:
    // Watches the server for the client; neither is owned.
    ValClientReceiver(MultiValClient<T>* client, ValServer<T>* server);

private:
    int valChangedNtfy(const NotifierEvent<T>& event);

    MultiValClient<T>* const client;
    Mw::Ptr<Mw::Guard> guard;
};

// Watches the values of any number of servers, and the batches of their managers. It owns neither, and lets go of
// a server or manager that goes.
//
// At its end it watches nothing any more. It may be destroyed within its own call. Threads: calls come on those that
// write to the servers; everything else, and the end of servers, is for one thread at a time. One that is called
// from other threads calls deregisterFromAll in the destructor of its own class, since calls may come until then.
template <class T>
class MISC_API MultiValClient : public Notifiable, public ValClientBase
{
public:
    ~MultiValClient() override;

    // Watches the server from now on, and its manager if it has one at this moment. Does nothing if the server
    // is watched already, or null.
    virtual void registerWith(ValServer<T>* server);

    // Watches the server no longer; false if it wasn't watched. A manager stays watched while it lives, once a
    // server of it was watched; only deregistering from a server that isn't watched, when none that is has its
    // manager, drops it.
    virtual bool deregisterFrom(ValServer<T>* server);

    // The value of `server` has changed.
    virtual void valChangedNtfy(ValServer<T>* server) = 0;

    // A manager begins and ends a batch of changes.
    virtual void startBatchOp(ValManagerBase<T>*) {}
    virtual void endBatchOp(ValManagerBase<T>*) {}

    void valChangedNtfy(ValServerBase* server) override;

protected:
    void deregisterFromAll();

private:
    using Managed = std::pair<ValManagerBase<T>*, Mw::Ptr<Mw::Guard>>;

    int handleNotification(const NotifyMsg& message);
    void addManagerFor(ValServer<T>* server);
    void removeManagerFor(ValServer<T>* server);
    bool usesManager(const ValManagerBase<T>* manager) const;
    unsigned indexOf(const Notifier* manager) const;
    void dropManager(unsigned index);

    Vector<Managed> managers;
    Mw::Ptr<iCallbackBase<int, NotifyMsg>> batchCallback; // one for all managers, made with the first
};

template <class T>
ValClientReceiver<T>::ValClientReceiver(MultiValClient<T>* client, ValServer<T>* server)
    : ValClientReceiverBase(server), client(client)
{
    guard = server->registerNotification(Mw::makePtr<BoundCallback<&ValClientReceiver::valChangedNtfy>>(this),
                                         CallbackInvokerBase::anyType());
}

// What each case does last may end this receiver, and the callback that made the call.
template <class T>
int ValClientReceiver<T>::valChangedNtfy(const NotifierEvent<T>& event)
{
    ValClientBase* const told = client;
    if (event.type == ValServerBase::valChangedMsgType_)
        told->valChangedNtfy(server);
    else if (event.type == ValServerBase::preValChangedMsgType_)
        told->valPreChangedNtfy(server);
    else if (event.type == NotifyMsgTypeDictionary::destroyType)
        told->deregisterFrom(server);
    return 0;
}

template <class T>
MultiValClient<T>::~MultiValClient()
{
    deregisterFromAll();
}

template <class T>
void MultiValClient<T>::registerWith(ValServer<T>* server)
{
    if (server == nullptr || findReceiver(server) != nullptr)
        return;
    receivers.append(new ValClientReceiver<T>(this, server));
    addManagerFor(server);
}

template <class T>
bool MultiValClient<T>::deregisterFrom(ValServer<T>* server)
{
    removeManagerFor(server);
    return ValClientBase::deregisterFrom(server);
}

template <class T>
void MultiValClient<T>::valChangedNtfy(ValServerBase* server)
{
    if (inhibitCount.load(std::memory_order_relaxed) <= 0)
        valChangedNtfy(static_cast<ValServer<T>*>(server));
}

template <class T>
void MultiValClient<T>::deregisterFromAll()
{
    while (!receivers.empty())
        ValClientBase::deregisterFrom(getValServer(0));
    while (!managers.empty())
        dropManager(managers.size() - 1);
}

// Tells batches by their texts. What each case does last may end this client.
template <class T>
int MultiValClient<T>::handleNotification(const NotifyMsg& message)
{
    const char* const text = message;
    Notifier* const sender = message.sender();
    if (message.type() == NotifyMsgTypeDictionary::destroyType)
    {
        if (const unsigned index = indexOf(sender); index != managers.size())
            dropManager(index);
    }
    else if (text != nullptr && std::strcmp(text, detail::startBatchText) == 0)
        startBatchOp(static_cast<ValManagerBase<T>*>(sender));
    else if (text != nullptr && std::strcmp(text, detail::endBatchText) == 0)
        endBatchOp(static_cast<ValManagerBase<T>*>(sender));
    return 0;
}

template <class T>
void MultiValClient<T>::addManagerFor(ValServer<T>* server)
{
    ValManagerBase<T>* const manager = server != nullptr ? server->getManager() : nullptr;
    if (manager == nullptr || indexOf(manager) != managers.size())
        return;
    if (!batchCallback)
        batchCallback = Mw::makePtr<BoundCallback<&MultiValClient::handleNotification>>(this);
    managers.push_back({manager, manager->registerNotification(batchCallback, CallbackInvokerBase::anyType())});
}

template <class T>
void MultiValClient<T>::removeManagerFor(ValServer<T>* server)
{
    const ValManagerBase<T>* const manager = server != nullptr ? server->getManager() : nullptr;
    if (manager == nullptr || usesManager(manager))
        return;
    if (const unsigned index = indexOf(manager); index != managers.size())
        dropManager(index);
}

template <class T>
bool MultiValClient<T>::usesManager(const ValManagerBase<T>* manager) const
{
    for (int i = 0; ValServerBase* const server = getValServer(i); ++i)
        if (static_cast<ValServer<T>*>(server)->getManager() == manager)
            return true;
    return false;
}

// The number of managers if it isn't watched.
template <class T>
unsigned MultiValClient<T>::indexOf(const Notifier* manager) const
{
    unsigned index = 0;
    while (index != managers.size() && managers[index].first != manager)
        ++index;
    return index;
}

// The guard goes last: its manager may be about to call, on another thread.
template <class T>
void MultiValClient<T>::dropManager(unsigned index)
{
    Mw::Ptr<Mw::Guard> guard = std::move(managers[index].second);
    managers.remove(index);
    NotifierBase::deregisterNotification(guard);
}

extern template class ValClientReceiver<bool>;
extern template class ValClientReceiver<int>;
extern template class ValClientReceiver<unsigned>;
extern template class ValClientReceiver<double>;
extern template class ValClientReceiver<LightweightString<char>>;
extern template class MultiValClient<bool>;
extern template class MultiValClient<int>;
extern template class MultiValClient<unsigned>;
extern template class MultiValClient<double>;
extern template class MultiValClient<LightweightString<char>>;
