#pragma once

#include "OS/OS.h"

#include <cstddef>
#include <limits>
#include <new>

// The allocator of the containers that hold strings: memory of OS().allocator(). All are equal.
template <class T>
class StdAllocator
{
public:
    using value_type = T;

    StdAllocator() noexcept = default;
    template <class U>
    StdAllocator(const StdAllocator<U>&) noexcept
    {
    }

    T* allocate(std::size_t count)
    {
        if (count > std::numeric_limits<std::size_t>::max() / sizeof(T))
            throw std::bad_array_new_length();
        return static_cast<T*>(OS().allocator().allocate(count * sizeof(T)));
    }
    void deallocate(T* block, std::size_t) noexcept { OS().allocator().release(block); }

    template <class U>
    bool operator==(const StdAllocator<U>&) const noexcept
    {
        return true;
    }
};
