#include "misc/threads/DecouplingQueue.h"

#include "platform/ThreadSupport.h"

#include <gtest/gtest.h>
#include <latch>
#include <set>
#include <thread>

namespace
{

struct Item : iObject
{
    std::atomic<int> despatched = 0;
};

using ItemQueue = DecouplingQueue<Item>;

struct Owner : ItemQueue::Decoupler
{
    void despatch(Mw::Ptr<Item> item) override
    {
        work(item);
        ++item->despatched;
    }
    std::function<void(const Mw::Ptr<Item>&)> work = [](const auto&) {};
};

ItemQueue* makeQueue(unsigned numThreads, Owner& owner)
{
    return new ItemQueue(numThreads, 0, 0, 0, &owner, ItemQueue::noTimeout);
}

} // namespace

TEST(DecouplingQueue, everyItemIsRemovedOrDespatchedOnceByOneOfSixteenThreads)
{
    std::vector<Mw::Ptr<Item>> items(8000);
    for (auto& item : items)
        item = Mw::makePtr<Item>();
    std::vector<char> removed(items.size());
    Owner owner;
    std::latch allBusy(16); // although the event is set more often than anybody looks
    CriticalSection lock;
    std::set<unsigned short> workers;
    ItemQueue* const queue = makeQueue(20, owner);
    owner.work = [&](const auto&)
    {
        lock.enter();
        const bool isNew = workers.insert(co_pid()).second;
        lock.leave();
        if (isNew)
            allBusy.arrive_and_wait();
    };
    const auto produce = [&](int producer)
    {
        for (auto i = static_cast<std::size_t>(producer); i < items.size(); i += 4)
        {
            i % 3 == 0 ? queue->queueFront(items[i]) : queue->queue(items[i]);
            queue->queue(nullptr);
            removed[i] = i % 10 == 5 && queue->remove(items[i]);
        }
    };
    test::Crowd(4, produce);
    delete queue; // works on what is left
    for (std::size_t i = 0; i < items.size(); ++i)
        ASSERT_EQ(items[i]->despatched, removed[i] ? 0 : 1) << i;
    EXPECT_EQ(workers.size(), 16u);
}

TEST(DecouplingQueue, isDroppedByItsOwnThread)
{
    Owner owner;
    std::latch ready(1);
    ItemQueue* const queue = makeQueue(1, owner);
    owner.work = [&](const auto&)
    {
        ready.wait();
        delete queue;
    };
    const auto item = Mw::makePtr<Item>();
    queue->queue(item);
    queue->queue(item);
    ready.count_down();
    while (item->despatched == 0)
        std::this_thread::yield();
    EXPECT_EQ(item->despatched, 1) << "what nobody takes is dropped";
}
