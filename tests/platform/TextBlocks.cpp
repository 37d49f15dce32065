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

} // namespace

TEST(TextBlocks, listsAreBoundedAndEmptiedAtTheEndOfTheThread)
{
    // Made first, so destroyed after the lists: what it gives back must not open them again.
    struct Late
    {
        ~Late() { takeAndGiveMany(TextBlocks::largestBytes); }
    };
    const auto bytesInUse = [] { return OS().allocator().statistics().inUseBytes; };
    const std::size_t before = bytesInUse();
    std::thread(
        [&]
        {
            thread_local const Late late;
            static_cast<void>(late);
            takeAndGiveMany(TextBlocks::largestBytes);
            // The thread itself takes a little; 4,096 blocks are 32 MiB.
            EXPECT_LT(bytesInUse(), before + 3 * TextBlocks::bytesPerList);
        })
        .join();
    EXPECT_LT(bytesInUse(), before + TextBlocks::bytesPerList);
}
