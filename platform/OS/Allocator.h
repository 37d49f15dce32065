#pragma once

#include "OS/Export.h"

#include <cstddef>
#include <cstdio>
#include <cstdlib>

// The memory that strings, containers of strings and file caches live in: the C library's heap,
// reached inline. Any thread. Linking this library never replaces its host's malloc.
class Allocator
{
public:
    // Never null: a failure throws Mw::Exception::BadAlloc.
    void* allocate(std::size_t sizeBytes) const
    {
        void* const block = std::malloc(sizeBytes);
        if (block == nullptr) [[unlikely]]
            throwBadAlloc();
        return block;
    }

    // Keeps the contents up to the smaller size; the block may move. A failure throws and leaves the
    // old block as it was.
    void* reallocate(void* block, std::size_t sizeBytes) const
    {
        void* const moved = std::realloc(block, sizeBytes);
        if (moved == nullptr && sizeBytes != 0) [[unlikely]]
            throwBadAlloc();
        return moved;
    }

    // Gives back a block of `allocate` or `reallocate`; null is allowed.
    void release(void* block) const noexcept { std::free(block); }

    struct Statistics
    {
        std::size_t inUseBytes = 0;    // handed out and not released
        std::size_t reservedBytes = 0; // taken from the system
    };
    OS_API Statistics statistics() const;

    // Writes the state of the heap as readable text.
    OS_API void dump(std::FILE* out) const;

private:
    [[noreturn]] OS_API static void throwBadAlloc();
};
