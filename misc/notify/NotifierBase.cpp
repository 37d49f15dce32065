#include "misc/notify/NotifierBase.h"

#include "OS/AsymmetricBarrier.h"
#include "libmw/TypeName.h"
#include "misc/diagnostics/Console.h"

#include <atomic>
#include <cstdio>
#include <memory>

namespace
{

std::atomic<bool> debugMode_{false};

class CallbackGuard final : public Mw::Guard
{
public:
    CallbackGuard(NotifierBase& notifier, CallbackInvokerBase& invoker) noexcept
        : notifier_(&notifier), invoker_(&invoker)
    {
    }
    // A callback that throws when it is destroyed ends the program here.
    ~CallbackGuard() override { notifier_->deregisterNotification(invoker_); }

private:
    NotifierBase* notifier_;
    CallbackInvokerBase* invoker_;
};

} // namespace

int CallbackInvokerBase::anyType()
{
    static const int any = NotifyMsgTypeDictionary::instance().intern("*");
    return any;
}

NotifierBase::~NotifierBase()
{
    if (NotifierRecorder::isOn()) [[unlikely]]
        NotifierRecorder::forget(this);
}

Mw::Ptr<Mw::Guard> NotifierBase::registerInternal(CallbackInvokerBase* invoker)
{
    std::unique_ptr<CallbackInvokerBase> owned(invoker);
    Mw::Ptr<Mw::Guard> guard(new CallbackGuard(*this, *invoker));
    owned.release();
    inLock([&] { clients_.append(invoker); });
    if (isAskedWithoutLock_)
        AsymmetricBarrier::heavy();
    return guard;
}

void NotifierBase::deregisterNotification(CallbackInvokerBase* invoker)
{
    inLock([&] { clients_.remove(invoker); });
}

void NotifierBase::deregisterNotification(Mw::Ptr<Mw::Guard>& guard)
{
    const Mw::Ptr<Mw::Guard> released = std::move(guard);
}

bool NotifierBase::hasClientsLocked() const
{
    return inLock([&] { return !clients_.empty(); });
}

LightweightString<char> NotifierBase::clientsText() const
{
    const auto& types = NotifyMsgTypeDictionary::instance();
    LightweightString<char> text;
    const auto addLines = [&]
    {
        unsigned number = 0;
        for (const DLListRec* record = clients_.head(); record != nullptr; record = clients_.next(record))
        {
            const auto& client = static_cast<const CallbackInvokerBase&>(*record);
            char first[16], last[32];
            std::snprintf(first, sizeof first, "%u ", ++number);
            std::snprintf(last, sizeof last, " at %p\n", client.callbackAddress());
            text += first;
            text += types.msgTypeName(client.msgType()) + " " + typeName(client.callbackType()) + last;
        }
    };
    inLock(addLines);
    return text;
}

bool NotifierBase::debugMode() noexcept
{
    return debugMode_.load(std::memory_order_relaxed);
}

void NotifierBase::debugMode(bool on) noexcept
{
    debugMode_.store(on, std::memory_order_relaxed);
}

void NotifierBase::toggleNotifyDebug()
{
    debugMode(!debugMode());
    herc_printf("Notify debugging: %s.\n", debugMode() ? "on" : "off");
}
