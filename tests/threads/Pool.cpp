#include "Mw/PooledStdAllocator.h"

#include "pool_module/Module.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <list>
#include <thread>
#include <tuple>
#include <vector>

namespace
{

struct Clip : Mw::PooledObject<Clip>
{
    virtual ~Clip() = default;
    long frames = 0;
};
struct LongClip : Clip
{
    long more[4] = {};
};

template <class T>
int pooled()
{
    return Mw::Private::StackHolder<T>::get().count();
}

// An object that knows its owner. The first word is the link's while the block is free.
struct Block
{
    void* link = nullptr;
    std::atomic<int> owner{0};
    int visits = 0; // plain: the stack alone orders its accesses
};
using Stack = Mw::LockFree::Stack<Block>;

[[noreturn]] void twoOwners(int one, int other)
{
    std::fprintf(stderr, "threads %d and %d own one object\n", one, other);
    std::abort();
}

// Takes one or two blocks at a time and gives them back in either order, so that a head comes back on top of
// another block than it stood on before.
void takeAndGiveBack(Stack& stack, int thread, long pops)
{
    Block* held[2];
    for (unsigned turn = 0; pops > 0; ++turn)
    {
        unsigned count = 0;
        for (; count < 1 + turn % 2; ++count)
        {
            if ((held[count] = stack.pop()) == nullptr)
                break;
            if (const int other = held[count]->owner.exchange(thread, std::memory_order_relaxed); other != 0)
                twoOwners(thread, other);
            ++held[count]->visits;
            held[count]->link = held; // what a late reader of the link would follow
            --pops;
        }
        if (turn % 3 == 0)
            std::reverse(held, held + count);
        for (unsigned i = 0; i < count; ++i)
        {
            if (const int other = held[i]->owner.exchange(0, std::memory_order_relaxed); other != thread)
                twoOwners(thread, other);
            stack.push(held[i]);
        }
    }
}

class StackRace : public testing::TestWithParam<std::tuple<Stack::Means, int>>
{
};

INSTANTIATE_TEST_SUITE_P(, StackRace,
                         testing::Combine(testing::Values(Stack::Means::pairExchange, Stack::Means::lock),
                                          testing::Values(2, 4, 8, 16)),
                         [](const auto& of)
                         {
                             return (std::get<0>(of.param) == Stack::Means::lock ? "lock" : "exchange") +
                                    std::to_string(std::get<1>(of.param));
                         });

long popsInAll()
{
    // Together with the other sizes: 2,000,000 pops, and 200,000,000 in the long form.
    return std::getenv("MW_LONG_TESTS") != nullptr ? 50'000'000 : 500'000;
}

} // namespace

TEST_P(StackRace, givesEachObjectOneOwner)
{
    const auto [means, size] = GetParam();
    if (means == Stack::Means::pairExchange && !OS().atomics().hasPairExchange())
        GTEST_SKIP() << "this processor has no 16-byte exchange";
    Stack stack(means);
    std::vector<Block> blocks(static_cast<std::size_t>(size) + 2);
    for (Block& block : blocks)
        stack.push(&block);
    {
        std::vector<std::thread> threads;
        for (int i = 1; i <= size; ++i)
            threads.emplace_back([&, i] { takeAndGiveBack(stack, i, popsInAll() / size); });
        for (std::thread& thread : threads)
            thread.join();
    }
    EXPECT_EQ(stack.count(), std::ssize(blocks));
    long visits = 0;
    std::vector<Block*> found;
    while (Block* const block = stack.pop())
    {
        found.push_back(block);
        visits += block->visits;
    }
    std::sort(found.begin(), found.end());
    EXPECT_EQ(std::unique(found.begin(), found.end()) - found.begin(), std::ssize(blocks));
    EXPECT_GE(visits, popsInAll());
    EXPECT_EQ(stack.count(), 0);
}

TEST(PooledObject, goesRoundThroughTheStackOfItsType)
{
    EXPECT_EQ(pooled<Clip>(), 0);
    Clip* const first = new Clip;
    Clip* const second = new Clip;
    EXPECT_EQ(pooled<Clip>(), 0) << "both came from the heap";
    delete first;
    delete second;
    EXPECT_EQ(pooled<Clip>(), 2);
    Clip* const again = new Clip;
    EXPECT_EQ(again, second);
    EXPECT_EQ(again->frames, 0);
    delete static_cast<Clip*>(nullptr);
    Clip* const larger = new LongClip;
    EXPECT_NE(larger, first);
    delete larger;
    EXPECT_EQ(pooled<Clip>(), 1) << "the larger one is none of the pool's";
    delete again;
}

TEST(PooledStdAllocator, givesTheNodesOfAListBackToTheirPool)
{
    using List = std::list<short, Mw::PooledStdAllocator<short, Mw::PooledObjectDebug::LoggingTraits>>;
    using Node = std::_List_node<short>;
    const auto& watch = Mw::Private::DebugTraitsHolder<Mw::PooledObjectDebug::LoggingTraits<Node>>::get();
    using Holder = Mw::Private::NodeHolder<Node, Mw::PooledObjectDebug::LoggingTraits>;
    for (int round = 0; round < 2; ++round)
    {
        List list(100, short{7});
        list.erase(std::next(list.begin(), 50), list.end());
        EXPECT_EQ(pooled<Holder>(), 50);
        list.assign(70, short{8});
        EXPECT_EQ(std::count(list.begin(), list.end(), 8), 70);
    }
    EXPECT_EQ(pooled<Holder>(), 100);
    EXPECT_EQ(watch.pops(), 240u);
    EXPECT_EQ(watch.pushes(), 240u);
    std::vector<short, Mw::PooledStdAllocator<short>> array(100, short{9});
    EXPECT_EQ(array.back(), 9) << "arrays are none of the pool's";
}

TEST(PooledObject, hasOneStackForAllLibraries)
{
    const auto open = [](const char* path)
    {
        void* const library = ::dlopen(path, RTLD_NOW | RTLD_LOCAL);
        EXPECT_NE(library, nullptr) << ::dlerror();
        return library;
    };
    void* const a = open(POOL_MODULE_A);
    void* const b = open(POOL_MODULE_B);
    ASSERT_TRUE(a != nullptr && b != nullptr);
    const auto of = [](void* library, auto* function, const char* name)
    { return reinterpret_cast<decltype(function)>(::dlsym(library, name)); };
    EXPECT_NE(of(a, &code, "code")(), of(b, &code, "code")()) << "each has its own code, or this shows nothing";
    EXPECT_EQ(of(a, &stack, "stack")(), of(b, &stack, "stack")());
    void* const object = of(a, &make, "make")();
    of(b, &drop, "drop")(object);
    EXPECT_EQ(of(a, &make, "make")(), object);
    of(a, &drop, "drop")(object);
}
