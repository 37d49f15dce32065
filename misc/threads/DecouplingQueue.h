#pragma once

#include "Mw/Assert.h"
#include "Mw/Ptr.h"
#include "OS/OS.h"
#include "OS/ThreadMgr.h"
#include "libmw/CriticalSection.h"
#include "libmw/TypeName.h"
#include "misc/threads/CoProcess.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <list>
#include <utility>
#include <vector>

// A list of items and a few threads that take them from it: whoever queues an item goes on at once, and one of
// the threads hands it to the owner's Decoupler. Items are taken in the list's order; on several threads they
// run at the same time and end in any order. The queue shares its items with those who queued them. Any thread.
template <class T>
class DecouplingQueue
{
public:
    using Item = Mw::Ptr<T>;

    // What the owner of a queue does with its items; it outlives the queue.
    class Decoupler
    {
    public:
        // The name of the queue's threads. The "$" leaves them to the queue when the co-processes are stopped.
        virtual LightweightString<char> getName()
        {
            return LightweightString<char>("$DQ<") + typeName(typeid(T)) + ">";
        }

        // Works on an item, on one of the queue's threads, with no lock held. It may queue more.
        virtual void despatch(Item item) = 0;

        virtual ~Decoupler() = default;

        // Takes the next item for `despatch`, null if there is none. An owner who keeps account of its items
        // does so here, in one step with the taking, under a lock of its own that it takes before the queue's.
        virtual Item take(DecouplingQueue& queue) { return queue.takeItem(); }
    };

    static constexpr unsigned maxThreads = 16;
    static constexpr unsigned noTimeout = ~0u;

    // Starts the threads, at most `maxThreads`. `priority` is one of the library's; the argument behind it is
    // ignored. A thread that has nothing to do looks at the list again every `waitTimeoutMs`.
    //
    // Without threads, items are worked on by despatchItemFromQueue alone.
    DecouplingQueue(unsigned numThreads, unsigned priority, int, unsigned stackSizeBytes, Decoupler* decoupler,
                    unsigned waitTimeoutMs);

    // Works on all that is queued and waits for the threads, however long that takes. On one of the queue's own
    // threads it doesn't wait for that one; what nobody else takes is then dropped.
    ~DecouplingQueue();
    DecouplingQueue(const DecouplingQueue&) = delete;
    DecouplingQueue& operator=(const DecouplingQueue&) = delete;

    // What the destructor does first: ends the threads. The list stays, for nobody to work on. Two of the threads
    // would wait for each other: if it goes on already, one of them only returns. False where a thread goes on,
    // which is the caller's own then.
    bool stop();

    // Whether the caller is one of the threads.
    bool isOwnThread() const;

    // Puts an item behind the others, or before them. Without a thread to take it, which the destructor's
    // drain doesn't count as, an assertion line says so.
    void queue(const Item& item);
    void queueFront(const Item& item);

    // The two steps of those, for an owner whose own lock is to be free again when a thread wakes.
    void append(const Item& item);
    void prepend(const Item& item);
    void wake();

    bool isQueued(const Item& item) const;
    bool empty() const;
    void getQueuedItems(std::list<Item>& items) const;

    // Takes an item out wherever it stands, once; false if it isn't there.
    bool remove(const Item& item);

    // Drops all items.
    void clear();

    // Takes the first item out, passing over null ones; null if there is none. For Decoupler::take.
    Item takeItem();

    // Takes one item and works on it, on the caller's thread.
    void despatchItemFromQueue();

    // The threads' body.
    static iThread::eExecRC decoupledThread(void* queue);

private:
    // What a thread may look at when the queue is gone.
    struct Life : iObject
    {
        std::atomic<bool> isOver{false};
    };

    DecouplingQueue(unsigned numThreads, Decoupler* decoupler, unsigned waitTimeoutMs);

    void work();
    bool despatchNext();

    mutable CriticalSection lock_{"decoupling queue"};
    std::list<Item> items_;
    Mw::Ptr<iThreadEvent> itemEvent_; // cleared by the thread that it wakes; null without threads, like the next
    Mw::Ptr<iThreadEvent> stopEvent_; // stays set
    Decoupler* const decoupler_;
    const unsigned numThreads_;
    std::array<Mw::Ptr<iThread>, maxThreads> threads_;
    std::atomic<bool> threadRequired_{false};
    const unsigned waitTimeoutMs_;
    const Mw::Ptr<Life> life_{Mw::makePtr<Life>()};
};

template <class T>
DecouplingQueue<T>::DecouplingQueue(unsigned numThreads, Decoupler* decoupler, unsigned waitTimeoutMs)
    : decoupler_(decoupler), numThreads_(std::min(numThreads, maxThreads)), waitTimeoutMs_(waitTimeoutMs)
{
}

// The destructor stops the threads that were made before one failed.
template <class T>
DecouplingQueue<T>::DecouplingQueue(unsigned numThreads, unsigned priority, int, unsigned stackSizeBytes,
                                    Decoupler* decoupler, unsigned waitTimeoutMs)
    : DecouplingQueue(numThreads, decoupler, waitTimeoutMs)
{
    if (numThreads_ == 0)
        return;
    itemEvent_ = OS().threadMgr().createEvent(iThreadEvent::eAutoReset);
    stopEvent_ = OS().threadMgr().createEvent(iThreadEvent::eManualReset);
    threadRequired_ = true;
    for (unsigned i = 0; i < numThreads_; ++i)
        threads_[i] = coThreadGet(co_create(decoupledThread, decoupler_->getName().c_str(), static_cast<int>(priority),
                                            this, 1 << i, stackSizeBytes));
}

template <class T>
DecouplingQueue<T>::~DecouplingQueue()
{
    stop();
    life_->isOver = true;
}

template <class T>
bool DecouplingQueue<T>::stop()
{
    if (numThreads_ == 0)
        return true;
    const bool isFirst = threadRequired_.exchange(false);
    if (stopEvent_)
        stopEvent_->set();
    if (!isFirst && isOwnThread())
        return false;
    bool ended = true;
    for (const Mw::Ptr<iThread>& thread : threads_)
        ended = (!thread || thread->waitForExit(-1)) && ended;
    return ended;
}

// The id of a thread that has ended may be that of another by now.
template <class T>
bool DecouplingQueue<T>::isOwnThread() const
{
    const std::uint32_t id = OS().threadMgr().currentThreadId();
    return std::ranges::any_of(threads_, [id](const Mw::Ptr<iThread>& thread)
                               { return thread && thread->threadId() == id && !thread->waitForExit(0); });
}

template <class T>
void DecouplingQueue<T>::queue(const Item& item)
{
    append(item);
    wake();
}

template <class T>
void DecouplingQueue<T>::queueFront(const Item& item)
{
    prepend(item);
    wake();
}

template <class T>
void DecouplingQueue<T>::append(const Item& item)
{
    const CriticalSection::Lock lock(lock_);
    MW_ASSERT_AT(threadRequired_, "misc/DecouplingQueue line 177");
    items_.push_back(item);
}

template <class T>
void DecouplingQueue<T>::prepend(const Item& item)
{
    const CriticalSection::Lock lock(lock_);
    MW_ASSERT_AT(threadRequired_, "misc/DecouplingQueue line 161");
    items_.push_front(item);
}

template <class T>
bool DecouplingQueue<T>::isQueued(const Item& item) const
{
    const CriticalSection::Lock lock(lock_);
    return std::find(items_.begin(), items_.end(), item) != items_.end();
}

template <class T>
bool DecouplingQueue<T>::empty() const
{
    const CriticalSection::Lock lock(lock_);
    return items_.empty();
}

template <class T>
void DecouplingQueue<T>::getQueuedItems(std::list<Item>& items) const
{
    std::list<Item> copy;
    {
        const CriticalSection::Lock lock(lock_);
        copy = items_;
    }
    items.swap(copy); // what the caller's list held goes when the lock is free again
}

template <class T>
bool DecouplingQueue<T>::remove(const Item& item)
{
    const CriticalSection::Lock lock(lock_);
    const auto place = std::find(items_.begin(), items_.end(), item);
    if (place == items_.end())
        return false;
    items_.erase(place);
    return true;
}

template <class T>
void DecouplingQueue<T>::clear()
{
    std::list<Item> dropped; // their destructors run when the lock is free again
    const CriticalSection::Lock lock(lock_);
    dropped.swap(items_);
}

template <class T>
typename DecouplingQueue<T>::Item DecouplingQueue<T>::takeItem()
{
    Item item;
    const CriticalSection::Lock lock(lock_);
    while (!item && !items_.empty())
    {
        item = std::move(items_.front());
        items_.pop_front();
    }
    return item;
}

template <class T>
void DecouplingQueue<T>::despatchItemFromQueue()
{
    despatchNext();
}

// The event wakes one thread, however often it was set before that one looked: who takes an item and leaves
// others wakes the next.
template <class T>
bool DecouplingQueue<T>::despatchNext()
{
    Item item = decoupler_->take(*this);
    if (!item)
        return false;
    if (!empty())
        wake();
    decoupler_->despatch(std::move(item));
    return true;
}

template <class T>
void DecouplingQueue<T>::wake()
{
    if (itemEvent_)
        itemEvent_->set();
}

template <class T>
iThread::eExecRC DecouplingQueue<T>::decoupledThread(void* queue)
{
    static_cast<DecouplingQueue*>(queue)->work();
    return iThread::eExecOK;
}

// An item's work may drop the last handle to the queue. Where there is nothing to do, the owner isn't asked: it may
// hold its lock while it makes the queue, and so while it waits for this thread because another could not be made.
template <class T>
void DecouplingQueue<T>::work()
{
    const Mw::Ptr<Life> life = life_;
    const std::vector<Mw::Ptr<iThreadEvent>> events{itemEvent_, stopEvent_};
    while (threadRequired_)
    {
        OS().threadMgr().waitForEvents(events, false, static_cast<int>(waitTimeoutMs_));
        while (threadRequired_ && despatchNext())
            if (life->isOver)
                return;
    }
    while (!empty() && despatchNext())
        if (life->isOver)
            return;
}
