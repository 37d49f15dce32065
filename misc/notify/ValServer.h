#pragma once

#include "OS/AsymmetricBarrier.h"
#include "misc/notify/Notifier.h"
#include "misc/notify/NotifierEx.h"

#include <atomic>
#include <type_traits>
#include <typeinfo>

template <class T>
class MISC_API ValServer; // clang takes the visibility of the first declaration

// A server of a value whose type isn't told. It may be linked into one list.
class MISC_API ValServerBase : public DLListRec, public virtual iObject
{
public:
    // Tells the clients that the value has changed, or that it is about to.
    virtual void notifyValChanged() = 0;
    virtual void preNotifyValChanged() = 0;

    // "ValChange" and "PreValChange", valid before a client can be made.
    static const int valChangedMsgType_;
    static const int preValChangedMsgType_;
};

// Knows the server that this thread is constructing at the moment, for those that are called from within the
// construction and can't be handed it. Any thread; each sees its own.
class MISC_API LastValServer
{
public:
    // The server that is under construction on this thread, which is then forgotten; null if there is none.
    static LastValServer* getLastValServer() noexcept;

protected:
    LastValServer() noexcept;
    LastValServer(const LastValServer&) noexcept : LastValServer() {}
    LastValServer& operator=(const LastValServer&) noexcept { return *this; }
    virtual ~LastValServer() = default;
};

// Looks after the values of servers: it may refuse or alter a new value, and as a notifier it tells the clients
// of its servers about batches of changes, by messages with the texts "StartBatch" and "EndBatch". A server
// doesn't own its manager: before a manager goes it takes itself off its servers.
template <class T>
class MISC_API ValManagerBase : public Notifier
{
public:
    // Asked before each update of `server`. May change the candidate; false rejects it.
    virtual bool validateValue(ValServer<T>* server, T* candidate) = 0;

    // The server is about to go and forgets this manager.
    virtual void detachServer(ValServer<T>* server) = 0;
};

// A value that tells its clients when it is written. Writing an equal value tells them too.
//
// Clients are called at once, on the writing thread, in order of registration, under the server's lock; one that
// writes to the server from its call starts a nested round, after which those behind it still hear of the
// outer one, whose event carries the older value. Two servers whose clients write to each other go round for
// ever unless one of the clients compares first.
//
// Threads: clients come and go on any thread, and any thread may write. The value itself has no lock. Values of up
// to the size of a pointer that are plain bytes are read and written whole; of others (texts, cookies) the
// owner sees to it that nobody reads while somebody writes. An event holds the value at the time of the call.
template <class T>
class MISC_API ValServer : public NotifierEx<T>, public ValServerBase, public LastValServer
{
public:
    // Leaves a number as it finds it: zero in a static server, anything in others.
    ValServer();
    explicit ValServer(const T& value);

    // Copies the value, and neither clients nor manager.
    ValServer(const ValServer& other);

    // The manager lets go of the server, then the clients are told as NotifierEx does.
    ~ValServer() override;

    // Both are updateAndNotify; nothing of the other server but its value counts.
    virtual ValServer& operator=(const T& value);
    virtual ValServer& operator=(const ValServer& other);

    // Compares the values.
    virtual bool operator==(const ValServer& other) const;

    // Call the clients with the present value. Without clients they take no lock.
    void notifyValChanged() override;
    void preNotifyValChanged() override;

    // Has the manager look at the value, stores it and calls notifyValChanged. False, and nothing else happens,
    // if the manager rejects it. It never calls preNotifyValChanged: who knows that a change is coming does.
    virtual bool updateAndNotify(const T& newValue);

    T getValue() const;

    // Null, as at first, for none.
    ValManagerBase<T>* getManager() const noexcept { return manager; }
    void setManager(ValManagerBase<T>* newManager) noexcept { manager = newManager; }

protected:
    // The steps of updateAndNotify, for those that do something in between. False if the manager rejects the
    // candidate, which it may alter.
    bool validate(T& candidate);
    void store(const T& newValue);

    T value;
    ValManagerBase<T>* manager = nullptr;

private:
    // Whether the processor reads and writes a T as one.
    static constexpr bool isWord =
        std::is_trivially_copyable_v<T> && sizeof(T) <= sizeof(void*) && alignof(T) == sizeof(T);

    // Whether the object is of this class itself, as most servers are: their virtual operations are these here.
    bool isPlain() const noexcept { return &typeid(*this) == &typeid(ValServer); }

    bool write(const T& newValue, bool plain);
    bool updateManaged(const T& newValue);
    void tell(int type) const
    {
        AsymmetricBarrier::light();
        if (this->hasClients())
            issueValue(type);
    }
    void issueValue(int type) const;
};

template <class T>
ValServer<T>::ValServer()
{
    getLastValServer();
    this->askWithoutLock();
}

template <class T>
ValServer<T>::ValServer(const T& value) : value(value)
{
    getLastValServer();
    this->askWithoutLock();
}

template <class T>
ValServer<T>::ValServer(const ValServer& other)
    : Mw::InternalRefCount(), iObject(), NotifierEx<T>(), ValServerBase(), LastValServer(), value(other.getValue())
{
    getLastValServer();
    this->askWithoutLock();
}

template <class T>
ValServer<T>::~ValServer()
{
    if (manager != nullptr)
        manager->detachServer(this);
    manager = nullptr;
}

template <class T>
inline ValServer<T>& ValServer<T>::operator=(const T& newValue)
{
    if (isPlain()) [[likely]]
        write(newValue, true);
    else
        updateAndNotify(newValue);
    return *this;
}

template <class T>
ValServer<T>& ValServer<T>::operator=(const ValServer& other)
{
    updateAndNotify(other.getValue());
    return *this;
}

template <class T>
bool ValServer<T>::operator==(const ValServer& other) const
{
    return getValue() == other.getValue();
}

template <class T>
void ValServer<T>::notifyValChanged()
{
    tell(valChangedMsgType_);
}

template <class T>
void ValServer<T>::preNotifyValChanged()
{
    tell(preValChangedMsgType_);
}

template <class T>
bool ValServer<T>::updateAndNotify(const T& newValue)
{
    return write(newValue, isPlain());
}

// The clients may end the server: after them it isn't touched.
template <class T>
inline bool ValServer<T>::write(const T& newValue, bool plain)
{
    if (manager == nullptr) [[likely]]
        store(newValue);
    else if (!updateManaged(newValue))
        return false;
    if (plain) [[likely]]
        tell(valChangedMsgType_);
    else
        notifyValChanged();
    return true;
}

template <class T>
bool ValServer<T>::updateManaged(const T& newValue)
{
    T candidate(newValue);
    if (!validate(candidate))
        return false;
    store(candidate);
    return true;
}

template <class T>
inline T ValServer<T>::getValue() const
{
    if constexpr (isWord)
        return std::atomic_ref<T>(const_cast<T&>(value)).load(std::memory_order_relaxed);
    else
        return value;
}

// The value is read under the lock: of two threads that write, the last to tell tells the last value.
template <class T>
void ValServer<T>::issueValue(int type) const
{
    this->issueMade([this, type] { return NotifierEvent<T>{type, this, getValue()}; }, type);
}

template <class T>
bool ValServer<T>::validate(T& candidate)
{
    return manager == nullptr || manager->validateValue(this, &candidate);
}

template <class T>
inline void ValServer<T>::store(const T& newValue)
{
    if constexpr (isWord)
        std::atomic_ref<T>(value).store(newValue, std::memory_order_relaxed);
    else
        value = newValue;
}

extern template class ValServer<int>;
extern template class ValServer<LightweightString<wchar_t>>;
extern template class ValServer<Cookie>;
