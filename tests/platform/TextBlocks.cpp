#include "OS/TextBlocks.h"
#include "OS/OS.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace
{

void takeAndGiveMany(std::size_t textBytes)
{
    std::vector<void*> blocks(4096);
    for (void*& block : blocks)
        block = TextBlocks::take(textBytes);
    for (void* block : blocks)
        TextBlocks::give(block, textBytes);
}

// What stays in use after the function ran in a thread of its own, `inside` of it or after its end.
template <class Function>
std::size_t bytesLeftInUse(Function function, bool inside)
{
    const std::size_t before = OS().allocator().statistics().inUseBytes;
    std::size_t after = 0;
    std::thread thread(
        [&]
        {
            function();
            after = OS().allocator().statistics().inUseBytes;
        });
    thread.join();
    if (!inside)
        after = OS().allocator().statistics().inUseBytes;
    return after > before ? after - before : 0;
}

} // namespace

TEST(TextBlocks, listOfOneSizeIsBounded)
{
    // The thread itself takes a little; 4,096 blocks are 4 MiB.
    EXPECT_LT(bytesLeftInUse([] { takeAndGiveMany(TextBlocks::largestBytes); }, true), 3 * TextBlocks::bytesPerList);
}

TEST(TextBlocks, endOfThreadEmptiesItsLists)
{
    // Made first, so destroyed after the lists: what it gives back must not open them again.
    struct Late
    {
        ~Late() { takeAndGiveMany(TextBlocks::largestBytes); }
    };
    const auto fillAllLists = []
    {
        static thread_local const Late late;
        static_cast<void>(late);
        for (std::size_t textBytes = 1; textBytes <= TextBlocks::largestBytes; textBytes *= 2)
            takeAndGiveMany(textBytes);
        for (const std::size_t withoutList : {0u, 3u, 41u, 1000u, 1025u, 2048u, 100000u})
            takeAndGiveMany(withoutList);
    };
    EXPECT_LT(bytesLeftInUse(fillAllLists, false), TextBlocks::bytesPerList);
}
