#include "libmw/Shutdown.h"

#include "OS/Immortal.h"
#include "libmw/CriticalSection.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <optional>
#include <tuple>
#include <vector>

namespace
{

struct Entry
{
    unsigned failures; // attempts that ended in an exception
    unsigned priority;
    std::uint64_t arrival;
    Shutdown::Function function; // null where there is an object
    Mw::Ptr<Shutdown::Callback> object;
    bool running;

    bool before(const Entry& other) const
    {
        return std::tie(failures, priority, arrival) < std::tie(other.failures, other.priority, other.arrival);
    }
};

// The registered callbacks. An entry stays in the list while it runs, so that it can be removed from
// inside its own call.
class CallbackList
{
public:
    void add(Shutdown::Function function, const Mw::Ptr<Shutdown::Callback>& object, unsigned priority)
    {
        const CriticalSection::Lock lock(lock_);
        entries_.push_back({0, priority, arrivals_++, function, object, false});
    }

    void remove(const Mw::Ptr<Shutdown::Callback>& object)
    {
        std::vector<Entry> removed; // destroyed after the lock is let go
        const CriticalSection::Lock lock(lock_);
        const auto kept = std::stable_partition(entries_.begin(), entries_.end(),
                                                [&](const Entry& entry) { return entry.object != object; });
        removed.assign(kept, entries_.end());
        entries_.erase(kept, entries_.end());
    }

    void execute(Shutdown::eExitType type)
    {
        while (const std::optional<Entry> next = startNext())
        {
            try
            {
                next->object ? next->object->execute(type) : next->function(type);
            }
            catch (...)
            {
                putBack(next->arrival);
                throw;
            }
            finish(next->arrival);
        }
    }

private:
    std::optional<Entry> startNext()
    {
        const CriticalSection::Lock lock(lock_);
        Entry* first = nullptr;
        for (Entry& entry : entries_)
            if (!entry.running && (first == nullptr || entry.before(*first)))
                first = &entry;
        if (first == nullptr)
            return std::nullopt;
        first->running = true;
        return *first;
    }

    void putBack(std::uint64_t arrival)
    {
        const CriticalSection::Lock lock(lock_);
        if (const auto entry = find(arrival); entry != entries_.end())
        {
            entry->running = false;
            ++entry->failures;
        }
    }

    void finish(std::uint64_t arrival)
    {
        const CriticalSection::Lock lock(lock_);
        if (const auto entry = find(arrival); entry != entries_.end())
            entries_.erase(entry);
    }

    std::vector<Entry>::iterator find(std::uint64_t arrival)
    {
        return std::find_if(entries_.begin(), entries_.end(),
                            [=](const Entry& entry) { return entry.arrival == arrival; });
    }

    CriticalSection lock_{"shutdown callbacks"};
    std::vector<Entry> entries_;
    std::uint64_t arrivals_ = 0;
};

CallbackList& callbackList()
{
    return immortal<CallbackList>();
}

std::atomic<bool> exiting{false};

} // namespace

void Shutdown::addCallback(Function function, unsigned int priority)
{
    if (function != nullptr)
        callbackList().add(function, nullptr, priority);
}

void Shutdown::addCallback(const Mw::Ptr<Callback>& callback, unsigned int priority)
{
    if (callback)
        callbackList().add(nullptr, callback, priority);
}

void Shutdown::removeCallback(const Mw::Ptr<Callback>& callback)
{
    if (callback)
        callbackList().remove(callback);
}

void Shutdown::executeCallbacks(eExitType type)
{
    exiting.store(true, std::memory_order_release);
    callbackList().execute(type);
}

bool Shutdown::isExiting() noexcept
{
    return exiting.load(std::memory_order_acquire);
}
