#pragma once

#include "Mw/Assert.h"
#include "Mw/MwPooledObject.h"

#include <cstddef>
#include <limits>
#include <new>

namespace Mw
{

namespace Private
{

// A node of a container in a pool: while it is free the link lies where the node was. The node begins where
// the holder does, so the pointer that a container gives back is that of its holder.
template <class T, template <class> class DebugTraits>
class NodeHolder
    : public PooledObject<NodeHolder<T, DebugTraits>, PooledObjectAllocation::ExpandingTraits, DebugTraits<T>>
{
public:
    static void* make() { return &(new NodeHolder)->objSpace_; }

    static void drop(void* p)
    {
        NodeHolder* const ptr = static_cast<NodeHolder*>(p);
        if (static_cast<void*>(&ptr->objSpace_) != p)
            assertionFailed("(void*) &(ptr->objSpace_) == p", "Mw/MwPooledObject line 635");
        delete ptr;
    }

private:
    NodeHolder() noexcept {} // leaves the space as it is

    union
    {
        LockFree::SLNode<NodeHolder> link_;
        alignas(T) std::byte objSpace_[sizeof(T)];
    };
};

} // namespace Private

// The allocator of lists and other containers of nodes: a node comes from the pool of its type, an array from
// the heap. All are equal. Any thread.
template <class T, template <class> class DebugTraits = PooledObjectDebug::NullTraits>
class PooledStdAllocator
{
public:
    using value_type = T;
    template <class U>
    struct rebind
    {
        using other = PooledStdAllocator<U, DebugTraits>;
    };

    PooledStdAllocator() noexcept = default;
    template <class U>
    PooledStdAllocator(const PooledStdAllocator<U, DebugTraits>&) noexcept
    {
    }

    T* allocate(std::size_t count)
    {
        if (count == 1)
            return static_cast<T*>(Private::NodeHolder<T, DebugTraits>::make());
        if (count > std::numeric_limits<std::size_t>::max() / sizeof(T))
            throw std::bad_array_new_length();
        return static_cast<T*>(::operator new(count * sizeof(T)));
    }
    void deallocate(T* block, std::size_t count) noexcept
    {
        if (count == 1)
            Private::NodeHolder<T, DebugTraits>::drop(block);
        else
            ::operator delete(block);
    }

    template <class U>
    bool operator==(const PooledStdAllocator<U, DebugTraits>&) const noexcept
    {
        return true;
    }
};

} // namespace Mw
