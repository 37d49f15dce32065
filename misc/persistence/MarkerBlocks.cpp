#include "misc/persistence/MarkerBlocks.h"

#include <cstdint>
#include <mutex>
#include <new>

namespace
{

// A block begins at a multiple of its size, so that a marker's address tells its block.
constexpr std::size_t blockBytes = 16 * 1024;

struct Free
{
    Free* next;
};

struct Block
{
    Block* previous; // of those with room
    Block* next;
    Free* free;      // markers that were given back
    char* untouched; // from here on nothing was taken
    unsigned taken;

    bool hasRoom(std::size_t sizeBytes) const noexcept
    {
        return free != nullptr || untouched + sizeBytes <= reinterpret_cast<const char*>(this) + blockBytes;
    }
};

constinit std::mutex lock;
constinit Block* withRoom = nullptr;
constinit std::size_t markerBytes = 0;

void link(Block& block) noexcept
{
    block.previous = nullptr;
    block.next = withRoom;
    if (withRoom != nullptr)
        withRoom->previous = &block;
    withRoom = &block;
}

void unlink(Block& block) noexcept
{
    (block.previous != nullptr ? block.previous->next : withRoom) = block.next;
    if (block.next != nullptr)
        block.next->previous = block.previous;
}

Block& newBlock()
{
    char* const memory = static_cast<char*>(::operator new(blockBytes, std::align_val_t(blockBytes)));
    Block* const block = new (memory) Block{nullptr, nullptr, nullptr, memory + sizeof(Block), 0};
    link(*block);
    return *block;
}

} // namespace

void* MarkerBlocks::take(std::size_t sizeBytes)
{
    const std::lock_guard locked(lock);
    markerBytes = sizeBytes;
    Block& block = withRoom != nullptr ? *withRoom : newBlock();
    ++block.taken;
    void* taken = block.free;
    if (block.free != nullptr)
        block.free = block.free->next;
    else
    {
        taken = block.untouched;
        block.untouched += sizeBytes;
    }
    if (!block.hasRoom(sizeBytes))
        unlink(block);
    return taken;
}

void MarkerBlocks::give(void* marker) noexcept
{
    const std::lock_guard locked(lock);
    Block& block = *reinterpret_cast<Block*>(reinterpret_cast<std::uintptr_t>(marker) / blockBytes * blockBytes);
    if (!block.hasRoom(markerBytes))
        link(block);
    block.free = new (marker) Free{block.free};
    if (--block.taken != 0 || (block.previous == nullptr && block.next == nullptr))
        return;
    unlink(block);
    ::operator delete(&block, std::align_val_t(blockBytes));
}
