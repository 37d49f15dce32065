#include "Mw/PooledStdAllocator.h"

#include "platform/ThreadSupport.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <list>
#include <set>
#include <vector>

namespace
{

struct Clip : Mw::PooledObject<Clip>
{
    virtual ~Clip() = default;
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
    long visits = 0; // plain: the stack alone orders its accesses
};
using Stack = Mw::LockFree::Stack<Block>;

void changeOwner(Block& block, int from, int to)
{
    if (const int found = block.owner.exchange(to, std::memory_order_relaxed); found == from)
        return;
    std::fprintf(stderr, "an object has two owners\n");
    std::abort();
}

// Takes one or two blocks at a time and gives them back in either order, so that a head comes back on top of
// another block than it stood on before.
void takeAndGiveBack(Stack& stack, int thread, long pops)
{
    for (unsigned turn = 0; pops > 0; ++turn)
    {
        Block* held[2];
        unsigned count = 0;
        for (; count < 1 + turn % 2 && (held[count] = stack.pop()) != nullptr; ++count)
        {
            changeOwner(*held[count], 0, thread);
            ++held[count]->visits;
            held[count]->link = held; // what a late reader of the link would follow
            --pops;
        }
        if (turn % 3 == 0)
            std::reverse(held, held + count);
        for (unsigned i = 0; i < count; ++i)
        {
            changeOwner(*held[i], thread, 0);
            stack.push(held[i]);
        }
    }
}

} // namespace

TEST(LockFreeStack, givesEachObjectOneOwner)
{
    // 2,000,000 pops, and 200,000,000 in the long form.
    const long pops = std::getenv("MW_LONG_TESTS") != nullptr ? 50'000'000 : 500'000;
    for (const int size : {2, 4, 8, 16})
        for (const auto means : {Stack::bestMeans(), Stack::Means::lock})
        {
            Stack stack(means);
            std::vector<Block> blocks(static_cast<std::size_t>(size) + 2);
            for (Block& block : blocks)
                stack.push(&block);
            test::Crowd(size, [&](int i) { takeAndGiveBack(stack, i + 1, pops / size); });
            EXPECT_EQ(stack.count(), std::ssize(blocks));
            std::set<Block*> found;
            while (Block* const block = stack.pop())
                found.insert(block);
            EXPECT_EQ(found.size(), blocks.size());
        }
}

TEST(PooledObject, goesRoundThroughTheStackOfItsType)
{
    Clip* const first = new Clip;
    delete new Clip;
    delete first;
    Clip* const again = new Clip;
    EXPECT_EQ(again, first);
    delete static_cast<Clip*>(new LongClip);
    EXPECT_EQ(pooled<Clip>(), 1) << "the larger one is none of the pool's";
    delete again;
}

TEST(PooledStdAllocator, givesTheNodesOfAListBackToTheirPool)
{
    using Holder = Mw::Private::NodeHolder<std::_List_node<short>, Mw::PooledObjectDebug::LoggingTraits>;
    for (int round = 0; round < 2; ++round)
    {
        std::list<short, Mw::PooledStdAllocator<short, Mw::PooledObjectDebug::LoggingTraits>> list(100, short{7});
        list.resize(50);
        EXPECT_EQ(pooled<Holder>(), 50);
    }
    EXPECT_EQ(pooled<Holder>(), 100);
}

TEST(PooledObject, hasOneStackForAllLibraries)
{
    void* const a = ::dlopen(POOL_MODULE_A, RTLD_NOW | RTLD_LOCAL);
    void* const b = ::dlopen(POOL_MODULE_B, RTLD_NOW | RTLD_LOCAL);
    ASSERT_TRUE(a != nullptr && b != nullptr) << ::dlerror();
    const auto call = [](void* library, const char* name)
    { return reinterpret_cast<void* (*)()>(::dlsym(library, name))(); };
    EXPECT_NE(call(a, "code"), call(b, "code")) << "each has its own code, or this shows nothing";
    EXPECT_EQ(call(a, "stack"), call(b, "stack"));
    const auto drop = reinterpret_cast<void (*)(void*)>(::dlsym(b, "drop"));
    void* const object = call(a, "make");
    drop(object);
    EXPECT_EQ(call(a, "make"), object);
    drop(object);
}
