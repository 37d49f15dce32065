#include "OS/TextBlocks.h"
#include "OS/OS.h"

#include <gtest/gtest.h>

#include <array>
#include <thread>

namespace
{

void takeAndGiveMany(std::size_t textBytes)
{
    std::array<void*, 4096> blocks;
    for (void*& block : blocks)
        block = TextBlocks::take(textBytes);
    for (void* block : blocks)
        TextBlocks::give(block, textBytes);
}

std::size_t bytesInUse()
{
    return OS().allocator().statistics().inUseBytes;
}

} // namespace

TEST(TextBlocks, listsAreBoundedAndEmptiedAtTheEndOfTheThread)
{
    // Made first, so destroyed after the lists: what it gives back must not open them again.
    struct Late
    {
        ~Late() { takeAndGiveMany(TextBlocks::largestBytes); }
    };
    const std::size_t before = bytesInUse();
    std::thread(
        [&]
        {
            thread_local const Late late;
            static_cast<void>(late);
            takeAndGiveMany(TextBlocks::largestBytes);
            // The thread itself takes a little; 4,096 blocks are 32 MiB.
            EXPECT_LT(bytesInUse(), before + 3 * TextBlocks::bytesPerList);
            for (std::size_t textBytes = 1; textBytes < TextBlocks::largestBytes; textBytes *= 2)
                takeAndGiveMany(textBytes);
            for (const std::size_t withoutList : {0u, 3u, 41u, 1025u, 100000u})
                takeAndGiveMany(withoutList);
        })
        .join();
    EXPECT_LT(bytesInUse(), before + TextBlocks::bytesPerList);
}
