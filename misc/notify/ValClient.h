#pragma once

#include "misc/notify/ValServer.h"

#include "Mw/Guard.h"

#include <atomic>

namespace detail
{

// A write through a client that is going on in this thread, and whether the client still lives after it.
class MISC_API ClientWrite
{
public:
    explicit ClientWrite(const void* client) noexcept;
    ~ClientWrite();
    ClientWrite(const ClientWrite&) = delete;
    ClientWrite& operator=(const ClientWrite&) = delete;

    bool clientLives() const noexcept { return client_ != nullptr; }

    static void clientEnds(const void* client) noexcept;

private:
    const void* client_;
    ClientWrite* const outer_;
};

} // namespace detail

// Mirrors the value of one server and is called when it changes. It doesn't own the server, whose end it
// survives: it then has none, and reads as a default T.
//
// A client deregisters at its end, and may be destroyed within its own call. Threads: calls come on those that write
// to the server; everything else, and the end of the server, is for one thread at a time. A client that is called
// from other threads registers once its own class stands and deregisters, by registerWith(nullptr), in the destructor
// of that class, since calls may come in between.
template <class T>
class MISC_API ValClient
{
public:
    ValClient() = default;
    explicit ValClient(ValServer<T>* server);
    ValClient(const ValClient&) = delete;
    virtual ~ValClient();

    // Follows `newServer` from now on instead of the server before, or none if it is null.
    virtual void registerWith(ValServer<T>* newServer);

    // The server's value has changed, or is about to.
    virtual void valChangedNtfy() = 0;
    virtual void valPreChangedNtfy() {}

    ValServer<T>* getValServer() const noexcept { return server.load(std::memory_order_relaxed); }

    // The server's value, read without a lock; without a server a default T.
    T getServerValue() const;
    operator T() const { return getServerValue(); }

    // Write to the server, and give the value that it then has. Without a server nothing happens and they give
    // the argument. The write may end the server or this client; they then give a default T.
    T setServerValue(const T& newValue);
    T operator=(const T& newValue) { return setServerValue(newValue); }

protected:
    // While it is above 0, changes are not told.
    std::atomic<int> inhibitCount{0};

private:
    int handleValueChange(const NotifierEvent<T>& event);

    Mw::Ptr<Mw::Guard> guard;
    // Calls on other threads read it.
    std::atomic<ValServer<T>*> server{nullptr};
};

template <class T>
ValClient<T>::ValClient(ValServer<T>* server)
{
    registerWith(server);
}

template <class T>
ValClient<T>::~ValClient()
{
    guard.reset();
    detail::ClientWrite::clientEnds(this);
}

template <class T>
void ValClient<T>::registerWith(ValServer<T>* newServer)
{
    if (newServer == getValServer())
        return;
    server.store(newServer, std::memory_order_relaxed);
    if (newServer == nullptr)
    {
        guard.reset();
        return;
    }
    guard = newServer->registerNotification(Mw::makePtr<BoundCallback<&ValClient::handleValueChange>>(this),
                                            CallbackInvokerBase::anyType());
}

template <class T>
inline T ValClient<T>::getServerValue() const
{
    const ValServer<T>* const followed = getValServer();
    return followed != nullptr ? followed->getValue() : T();
}

template <class T>
T ValClient<T>::setServerValue(const T& newValue)
{
    ValServer<T>* const followed = getValServer();
    if (followed == nullptr)
        return newValue;
    const detail::ClientWrite write(this);
    *followed = newValue;
    return write.clientLives() ? getServerValue() : T();
}

// What each case does last may end this client, and the callback that made the call.
template <class T>
int ValClient<T>::handleValueChange(const NotifierEvent<T>& event)
{
    const bool isTold = inhibitCount.load(std::memory_order_relaxed) <= 0;
    if (event.type == ValServerBase::valChangedMsgType_)
    {
        if (isTold)
            valChangedNtfy();
    }
    else if (event.type == ValServerBase::preValChangedMsgType_)
    {
        if (isTold)
            valPreChangedNtfy();
    }
    else if (event.type == NotifyMsgTypeDictionary::destroyType)
    {
        server.store(nullptr, std::memory_order_relaxed);
        guard.reset();
    }
    return 0;
}

extern template class ValClient<bool>;
extern template class ValClient<int>;
extern template class ValClient<unsigned>;
extern template class ValClient<long>;
extern template class ValClient<unsigned long>;
extern template class ValClient<float>;
extern template class ValClient<double>;
extern template class ValClient<LightweightString<char>>;
extern template class ValClient<LightweightString<wchar_t>>;
