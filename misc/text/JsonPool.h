#pragma once

#include "OS/OS.h"

#include <algorithm>
#include <cstddef>
#include <new>
#include <utility>

namespace JSON
{

// Memory that is taken piece by piece and given back as a whole, when nobody keeps it any more. Pieces lie in
// blocks of growing size. Any thread may keep and release; pieces are taken by one thread at a time.
class Pool
{
public:
    // The first reference is the caller's. A failure to get memory throws Mw::Exception::BadAlloc.
    static Pool* make(std::size_t firstBlockBytes)
    {
        Block* const block = newBlock(std::max(firstBlockBytes, sizeof(Block) + sizeof(Pool)), nullptr);
        return new (block + 1) Pool(block);
    }

    // A piece is aligned for pointers and numbers.
    void* take(std::size_t sizeBytes)
    {
        const std::size_t taken = (sizeBytes + alignment - 1) & ~(alignment - 1);
        if (taken > static_cast<std::size_t>(end_ - free_)) [[unlikely]]
            addBlock(taken);
        char* const piece = free_;
        free_ += taken;
        return piece;
    }

    // Takes over a block of the allocator's, which begins with room for its header.
    void adopt(void* block) noexcept { block_->previous = new (block) Block{block_->previous, 0}; }

    // Before any other thread knows of the pool.
    void setReferences(int count) noexcept { references_ = count; }

    void release() noexcept
    {
        if (OS().atomics().decrement(&references_) == 0)
            destroy();
    }

    struct Block
    {
        Block* previous;
        std::size_t sizeBytes;
    };

private:
    static constexpr std::size_t alignment = 8;
    static constexpr std::size_t largestBlockBytes = 64 * 1024;

    explicit Pool(Block* first) noexcept : block_(first), free_(reinterpret_cast<char*>(this + 1)), end_(endOf(first))
    {
    }

    static Block* newBlock(std::size_t sizeBytes, Block* previous)
    {
        return new (OS().allocator().allocate(sizeBytes)) Block{previous, sizeBytes};
    }
    static char* endOf(Block* block) noexcept { return reinterpret_cast<char*>(block) + block->sizeBytes; }

    [[gnu::noinline]] void addBlock(std::size_t pieceBytes)
    {
        const std::size_t grown = std::min(2 * block_->sizeBytes, largestBlockBytes);
        block_ = newBlock(std::max(grown, sizeof(Block) + pieceBytes), block_);
        free_ = reinterpret_cast<char*>(block_ + 1);
        end_ = endOf(block_);
    }

    // The pool lies in its own first block.
    void destroy() noexcept
    {
        for (Block* block = block_; block != nullptr;)
            OS().allocator().release(std::exchange(block, block->previous));
    }

    Block* block_;
    char* free_;
    char* end_;
    int references_ = 1;
};

} // namespace JSON
