#include "misc/notify/NotifierRecorder.h"

#include "Mw/LightweightString.h"
#include "OS/Immortal.h"
#include "libmw/CriticalSection.h"
#include "libmw/TypeName.h"
#include "misc/diagnostics/Log.h"
#include "misc/notify/NotifierBase.h"

#include <cstdio>
#include <map>
#include <utility>

std::atomic<unsigned> NotifierRecorder::turn_{0};

namespace
{

constinit thread_local NotifierRecorder::Entry* innermost = nullptr;

// A notifier, and one that was entered from it.
using Order = std::pair<const NotifierBase*, const NotifierBase*>;

struct SeenOrders
{
    CriticalSection lock{"notifier recorder"};
    // The callback of the first notifier that entered the second; null if it was none.
    std::map<Order, const std::type_info*> callbacks;
};

SeenOrders& seenOrders()
{
    return immortal<SeenOrders>();
}

LightweightString<char> notifierText(const NotifierBase& notifier)
{
    char place[32];
    std::snprintf(place, sizeof place, " at %p", static_cast<const void*>(&notifier));
    return typeName(typeid(notifier)) + place;
}

LightweightString<char> callbackText(const std::type_info* callback)
{
    return callback != nullptr ? typeName(*callback) : LightweightString<char>("no callback");
}

void logBothOrders(const NotifierBase& first, const std::type_info* ofFirst, const NotifierBase& second,
                   const std::type_info* ofSecond)
{
    const LightweightString<char> firstText = notifierText(first);
    const LightweightString<char> secondText = notifierText(second);
    LogString((LightweightString<char>("Notifiers entered in both orders, a possible deadlock: ") + secondText +
               " from " + callbackText(ofFirst) + " of " + firstText + ", and " + firstText + " from " +
               callbackText(ofSecond) + " of " + secondText + "\n")
                  .c_str());
}

} // namespace

void NotifierRecorder::turn(bool on)
{
    SeenOrders& orders = seenOrders();
    const CriticalSection::Lock lock(orders.lock);
    if (on == isOn())
        return;
    turn_.fetch_add(1, std::memory_order_relaxed);
    orders.callbacks.clear();
}

NotifierRecorder::Entry::Entry(const NotifierBase& notifier)
    : notifier_(&notifier), turn_(NotifierRecorder::turn_.load(std::memory_order_relaxed)), outer_(innermost)
{
    if (!isInside(notifier))
        for (const Entry* held = outer_; held != nullptr; held = held->outer_)
            if (held->notifier_ != nullptr)
                enteredFrom(*held);
    innermost = this;
}

NotifierRecorder::Entry::~Entry()
{
    innermost = outer_;
}

// A notifier that this thread is in already is entered without waiting, and makes no order.
bool NotifierRecorder::Entry::isInside(const NotifierBase& notifier) const noexcept
{
    for (const Entry* held = outer_; held != nullptr; held = held->outer_)
        if (held->notifier_ == &notifier)
            return true;
    return false;
}

// A stay that began in an earlier turn may be in a notifier whose end went unseen.
void NotifierRecorder::Entry::enteredFrom(const Entry& held) const
{
    SeenOrders& orders = seenOrders();
    const CriticalSection::Lock lock(orders.lock);
    if (!isOn() || held.turn_ != turn_ || turn_ != NotifierRecorder::turn_.load(std::memory_order_relaxed) ||
        !orders.callbacks.try_emplace({held.notifier_, notifier_}, held.callback_).second)
        return;
    const auto reverse = orders.callbacks.find({notifier_, held.notifier_});
    if (reverse != orders.callbacks.end())
        logBothOrders(*held.notifier_, held.callback_, *notifier_, reverse->second);
}

void NotifierRecorder::forget(const NotifierBase* notifier)
{
    for (Entry* held = innermost; held != nullptr; held = held->outer_)
        if (held->notifier_ == notifier)
            held->notifier_ = nullptr;

    SeenOrders& orders = seenOrders();
    const CriticalSection::Lock lock(orders.lock);
    std::erase_if(orders.callbacks, [notifier](const auto& seen)
                  { return seen.first.first == notifier || seen.first.second == notifier; });
}
