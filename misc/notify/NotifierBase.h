#pragma once

#include "Mw/Guard.h"
#include "Mw/LightweightString.h"
#include "OS/Export.h"
#include "libmw/CriticalSection.h"
#include "misc/base/DLList.h"
#include "misc/notify/NotifierRecorder.h"
#include "misc/notify/NotifyMsgTypeDictionary.h"

#include <typeinfo>

// One registration: the record of a client in its notifier's list.
class MISC_API CallbackInvokerBase : public DLListRec
{
public:
    explicit CallbackInvokerBase(int msgType) noexcept : msgType_(msgType), comparedBits_(comparedBits(msgType)) {}

    // The id of "*".
    static int anyType();

    // The type that the client asked for.
    int msgType() const noexcept { return msgType_; }

    // Whether a message of the type is for this client: one of the two is the wildcard, or they are equal.
    bool typeMatch(int type) const noexcept { return ((type ^ msgType_) & comparedBits_ & comparedBits(type)) == 0; }

    // The class of the client's callback, and where it is.
    virtual const std::type_info& callbackType() const = 0;
    virtual const void* callbackAddress() const = 0;

private:
    // The bits in which the other type must agree. So a walk takes one branch for each client instead of three.
    static constexpr int comparedBits(int type) noexcept { return type == NotifyMsgTypeDictionary::anyType ? 0 : ~0; }

    int msgType_;
    int comparedBits_;
};

// What notifiers of all messages have in common: a lock, and a list of clients in the order in which they
// registered. A client holds a guard for its registration; with the last reference to it the registration
// ends. The guard must go before the notifier does: the notifier's last message tells clients to drop it.
//
// Any thread may issue, register and release at any time, in callbacks too: the lock is recursive, and held
// while clients are called. So callbacks of one notifier never run at the same time; a thread that releases a
// guard waits until a walk on another thread has ended; and a callback that waits for another thread, which
// wants this notifier, waits for ever. NotifierRecorder finds notifiers that can bring this about.
class MISC_API NotifierBase
{
public:
    NotifierBase(const NotifierBase&) = delete;
    NotifierBase& operator=(const NotifierBase&) = delete;
    // Deletes what registrations are left, and tells nobody. A callback that destroys its notifier ends the
    // walk that it is called from.
    virtual ~NotifierBase();

    // Ends a registration; the invoker is gone. For guards.
    void deregisterNotification(CallbackInvokerBase* invoker);

    // Lets go of a guard, which is null then; its registration ends if this was the last reference. A null
    // guard is left alone.
    static void deregisterNotification(Mw::Ptr<Mw::Guard>& guard);

    // Without the lock: true or false as of some moment of now.
    bool hasClients() const noexcept { return !clients_.empty(); }

    // The same under the lock: whoever is about to register or release on another thread is waited for.
    bool hasClientsLocked() const;

    // Who is registered, in order, for people: a line for each, with its number, the name of the message
    // type, the class of the callback and its address.
    LightweightString<char> clientsText() const;

    // A switch that clients may ask for.
    static bool debugMode() noexcept;
    static void debugMode(bool on) noexcept;

    // Turns the switch over, and says so on the debug console.
    static void toggleNotifyDebug();

    // Registers that as the command "toggle_debug_notify", once. The library does it while it is loaded.
    static void registerCommands();

protected:
    NotifierBase() noexcept = default;

    // For notifiers whose issuers store what they tell of, pass the light half of an AsymmetricBarrier and ask
    // `hasClients`: from now on a registration passes the heavy half, so that its client sees what was stored or is
    // told of it.
    void askWithoutLock() noexcept { isAskedWithoutLock_ = true; }

    // Takes the invoker, which comes from `new`, as the last client.
    Mw::Ptr<Mw::Guard> registerInternal(CallbackInvokerBase* invoker);

    // Runs `body` in the lock, and tells the recorder.
    template <class Body>
    decltype(auto) inLock(Body body) const;

    // Issuing is const, and turns the list.
    mutable CriticalSection lock_{"notifier"};
    mutable DLList clients_{true};

private:
    bool isAskedWithoutLock_ = false;
};

template <class Body>
inline decltype(auto) NotifierBase::inLock(Body body) const
{
    const auto locked = [&]() -> decltype(auto)
    {
        const CriticalSection::Lock lock(lock_);
        return body();
    };
    if (!NotifierRecorder::isOn()) [[likely]]
        return locked();
    const NotifierRecorder::Entry entry(*this);
    return locked();
}
