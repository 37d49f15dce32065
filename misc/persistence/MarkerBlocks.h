#pragma once

#include <cstddef>

// The memory of markers, of which there are many and which are asked for at random: they lie side by side in
// blocks, apart from the objects, so that few pages hold them all. An empty block is given back. Any thread.
namespace MarkerBlocks
{

// Room for one marker of `sizeBytes`, the same in all calls. A failure throws std::bad_alloc.
void* take(std::size_t sizeBytes);
void give(void* marker) noexcept;

} // namespace MarkerBlocks
