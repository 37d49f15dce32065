#include "misc/threads/DecouplingQueue.h"

#include "platform/ThreadSupport.h"

#include <gtest/gtest.h>
#include <latch>
#include <map>
#include <set>
#include <thread>

using namespace test;

namespace
{

struct Item : iObject
{
    std::atomic<int> despatched = 0;
};

using ItemQueue = DecouplingQueue<Item>;

class Owner : public ItemQueue::Decoupler
{
public:
    void despatch(Mw::Ptr<Item> item) override
    {
        ++item->despatched;
        work(item);
    }
    std::function<void(const Mw::Ptr<Item>&)> work = [](const Mw::Ptr<Item>&) {};
};

ItemQueue* made(unsigned numThreads, Owner& owner)
{
    return new ItemQueue(numThreads, 0, 0, 1 << 16, &owner, ItemQueue::noTimeout);
}

} // namespace

TEST(DecouplingQueue, everyItemIsDespatchedOnceOrRemoved)
{
    constexpr int producers = 4, each = 2000;
    Owner owner;
    std::vector<Mw::Ptr<Item>> items(producers * each);
    std::vector<char> removed(items.size());
    for (auto& item : items)
        item = Mw::makePtr<Item>();
    ItemQueue* const queue = made(3, owner);
    // Each despatch of one in ten queues the next one, which the producers leave out.
    std::map<const Item*, Mw::Ptr<Item>> next;
    for (std::size_t i = 0; i < items.size(); i += 10)
        next[items[i].get()] = items[i + 1];
    owner.work = [&](const Mw::Ptr<Item>& item)
    {
        if (const auto found = next.find(item.get()); found != next.end())
            queue->queueFront(found->second);
    };
    Crowd(producers,
          [&](int producer)
          {
              for (auto i = static_cast<std::size_t>(producer); i < items.size(); i += producers)
                  if (i % 10 != 1)
                  {
                      queue->queue(items[i]);
                      queue->queue(nullptr);
                      if (i % 10 == 5)
                          removed[i] = queue->remove(items[i]);
                  }
          });
    delete queue; // which works on what is left, and on what that queues
    for (std::size_t i = 0; i < items.size(); ++i)
        ASSERT_EQ(items[i]->despatched, removed[i] ? 0 : 1) << i;
}

TEST(DecouplingQueue, threadsAreAtMostSixteenAndDrainTheListAtTheEnd)
{
    Owner owner;
    std::latch allBusy(16), goOn(1);
    std::set<std::uint32_t> threadIds;
    CriticalSection lock;
    owner.work = [&](const Mw::Ptr<Item>&)
    {
        EXPECT_EQ(coThreadGet(co_pid())->name(), owner.getName());
        EXPECT_TRUE(owner.getName().startsWith("$DQ<"));
        {
            const CriticalSection::Lock guard(lock);
            if (!threadIds.insert(threads().currentThreadId()).second)
                return;
        }
        allBusy.count_down();
        goOn.wait();
    };
    auto* const queue = made(20, owner);
    std::vector<Mw::Ptr<Item>> items(100);
    for (auto& item : items)
        queue->queue(item = Mw::makePtr<Item>());
    allBusy.wait(); // although most events were set before anybody looked
    std::list<Mw::Ptr<Item>> waiting;
    queue->getQueuedItems(waiting);
    EXPECT_EQ(waiting.size(), 84u);
    EXPECT_TRUE(queue->isQueued(items.back()));
    EXPECT_FALSE(queue->isQueued(items.front()));

    testing::internal::CaptureStdout();
    Crowd destroyer(1, [&](int) { delete queue; });
    const auto late = Mw::makePtr<Item>();
    std::string output;
    while (output.empty())
    {
        queue->queue(late);
        std::fflush(stdout);
        output = testing::internal::GetCapturedStdout();
        testing::internal::CaptureStdout();
    }
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(output, "assertion failed threadRequired_ at misc/DecouplingQueue line 177\n");
    goOn.count_down();
    while (late->despatched == 0)
        std::this_thread::yield();
    EXPECT_EQ(threadIds.size(), 16u);
}

TEST(DecouplingQueue, withoutThreadsTheCallerWorks)
{
    Owner owner;
    std::vector<int> order;
    const auto first = Mw::makePtr<Item>(), second = Mw::makePtr<Item>();
    owner.work = [&](const Mw::Ptr<Item>& item) { order.push_back(item == first ? 1 : 2); };
    testing::internal::CaptureStdout();
    {
        const std::unique_ptr<ItemQueue> queue(made(0, owner));
        queue->queue(second);
        queue->queueFront(first);
        queue->queue(first);
        for (int i = 0; i < 2; ++i)
            queue->despatchItemFromQueue();
        queue->clear();
        queue->despatchItemFromQueue();
        queue->queue(first);
    }
    EXPECT_EQ(order, (std::vector{1, 2}));
    const std::string text = testing::internal::GetCapturedStdout();
    EXPECT_NE(text.find("assertion failed threadRequired_ at misc/DecouplingQueue line 161\n"), text.npos);
}

TEST(DecouplingQueue, isDroppedByItsOwnThread)
{
    Owner owner;
    Mw::Ptr<iThread> thread;
    ItemQueue* queue = nullptr;
    std::latch ready(1);
    owner.work = [&](const Mw::Ptr<Item>&)
    {
        ready.wait();
        thread = coThreadGet(co_pid());
        delete queue;
    };
    queue = made(1, owner);
    const auto item = Mw::makePtr<Item>();
    queue->queue(item);
    queue->queue(item);
    ready.count_down();
    while (item.useCount() > 1)
        std::this_thread::yield();
    EXPECT_EQ(item->despatched, 1) << "what nobody takes is dropped";
}
