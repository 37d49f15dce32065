#pragma once

#include "OS/Allocator.h"
#include "OS/Export.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

// The memory of text blocks: that of the allocator, with short lists in each thread of blocks that were
// given back, one list for each power of two of characters' bytes. A block from a list costs a few loads
// and no lock; malloc's own lists of a thread end after seven blocks.
//
// Any thread; a block may be given back by another thread than took it. The lists are bounded, are emptied
// when their thread ends, and are off in sanitizer builds, which want to see every release.

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define MW_TEXT_BLOCK_LISTS 0
#elif defined(__has_feature)
#define MW_TEXT_BLOCK_LISTS                                                                                            \
    !(__has_feature(address_sanitizer) || __has_feature(thread_sanitizer) || __has_feature(memory_sanitizer))
#else
#define MW_TEXT_BLOCK_LISTS 1
#endif

class TextBlocks
{
public:
    static constexpr std::size_t headerBytes = 24;
    static constexpr std::size_t largestBytes = 8 * 1024;  // of characters; longer texts are in no list
    static constexpr std::size_t bytesPerList = 32 * 1024; // what a list holds at most

    // A block for a header and so many bytes of characters. A failure throws Mw::Exception::BadAlloc.
    static void* take(std::size_t textBytes)
    {
        if (hasList(textBytes))
        {
            List& list = lists_[listOf(textBytes)];
            if (Link* const block = list.first) [[likely]]
            {
                list.first = block->next;
                ++list.room;
                return block;
            }
        }
        return Allocator().allocate(headerBytes + textBytes);
    }

    // Gives a block back that was taken for so many bytes.
    static void give(void* block, std::size_t textBytes) noexcept
    {
        if (!hasList(textBytes))
            return Allocator().release(block);
        List& list = lists_[listOf(textBytes)];
        if (list.room == 0) [[unlikely]]
            return giveToFullList(block, textBytes);
        list.first = new (block) Link{list.first};
        --list.room;
    }

private:
    // Lies in a block while that is in a list.
    struct Link
    {
        Link* next;
    };
    struct List
    {
        Link* first;
        std::uint32_t room; // for so many blocks more; 0 before the thread's first and after its end
    };
    class Emptier;

    static constexpr bool hasList(std::size_t textBytes) noexcept
    {
        // A power of two; std::has_single_bit calls a function where the processor's type isn't told.
        return MW_TEXT_BLOCK_LISTS && textBytes - 1 < largestBytes && (textBytes & (textBytes - 1)) == 0;
    }
    static constexpr std::size_t listOf(std::size_t textBytes) noexcept
    {
        return static_cast<std::size_t>(std::countr_zero(textBytes));
    }
    static constexpr std::size_t listCount = std::bit_width(largestBytes);

    OS_API static void giveToFullList(void* block, std::size_t textBytes) noexcept;

    // Without a destructor, so that it is reached by one load; an Emptier of the thread stands for that.
    [[gnu::tls_model("initial-exec")]] OS_API static constinit thread_local std::array<List, listCount> lists_;
};
