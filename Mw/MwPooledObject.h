#pragma once

#include "Mw/LockFreeStack.h"
#include "Mw/NamedObjects.h"
#include "libmw/PooledObjectDebug.h"

#include <algorithm>
#include <cstddef>
#include <new>
#include <typeinfo>

// Objects that are made and dropped at a high rate. Each pooled type has one stack of dead objects for the
// whole process, whichever library makes or drops them. It grows on demand, and no memory goes back to the
// heap: the pool is as large as the greatest number of objects that were alive at once. Any thread.

namespace Mw
{

// What happens when an object is taken and given back: four parts, joined by Traits.
namespace PooledObjectAllocation
{

// Nothing is done to the memory of an object that was taken; of one that comes back.
struct NullInitTraits
{
    static void init(void*) noexcept {}
};
struct NullFiniTraits
{
    static void fini(void*) noexcept {}
};

// Takes from the stack, and from the heap where that is empty; what the heap throws is passed on.
struct ExpandingAllocator
{
    template <class T>
    static void* allocate(LockFree::Stack<T>& stack)
    {
        if (T* const object = stack.pop()) [[likely]]
            return object;
        return ::operator new(std::max(sizeof(T), sizeof(LockFree::SLNode<T>)));
    }
};

// Puts on the stack.
struct ExpandingDeallocator
{
    template <class T>
    static void deallocate(LockFree::Stack<T>& stack, void* object) noexcept
    {
        stack.push(static_cast<T*>(object));
    }
};

template <class InitTraits, class FiniTraits, class Allocator, class Deallocator>
struct Traits : InitTraits, FiniTraits, Allocator, Deallocator
{
};

using ExpandingTraits = Traits<NullInitTraits, NullFiniTraits, ExpandingAllocator, ExpandingDeallocator>;

} // namespace PooledObjectAllocation

// Who watches a pool.
namespace PooledObjectDebug
{

template <class T>
struct NullTraits
{
    void ltb_beforePush(void*, unsigned long) noexcept {}
    void ltb_afterPush(void*, unsigned long) noexcept {}
    void ltb_beforePop(unsigned long) noexcept {}
    void ltb_afterPop(void*, unsigned long) noexcept {}
};

template <class T>
class LoggingTraits : public LoggingTraitsBase
{
public:
    explicit LoggingTraits(const char* typeName = typeid(T).name()) noexcept : LoggingTraitsBase(typeName) {}
};

} // namespace PooledObjectDebug

namespace Private
{

// The process's stack of a pooled type, made on first use.
template <class T>
class StackHolder
{
public:
    static LockFree::Stack<T>& get()
    {
        static LockFree::Stack<T>* holder = nullptr;
        if (LockFree::Stack<T>* const found = OS().atomics().loadPointer(&holder)) [[likely]]
            return *found;
        return create(holder);
    }

private:
    [[gnu::noinline, gnu::cold]] static LockFree::Stack<T>& create(LockFree::Stack<T>*& holder)
    {
        NamedObjects::findOrCreate(holder, typeid(T).name());
        return *OS().atomics().loadPointer(&holder);
    }
};

// The same for what watches it.
template <class DebugTraits>
class DebugTraitsHolder
{
public:
    static DebugTraits& get()
    {
        static DebugTraits* holder = nullptr;
        if (DebugTraits* const found = OS().atomics().loadPointer(&holder)) [[likely]]
            return *found;
        return create(holder);
    }

private:
    [[gnu::noinline, gnu::cold]] static DebugTraits& create(DebugTraits*& holder)
    {
        NamedObjects::findOrCreate(holder, typeid(DebugTraits).name());
        return *OS().atomics().loadPointer(&holder);
    }
};

} // namespace Private

// The base that gives T an operator new and delete of its own: `class Shot : public Mw::PooledObject<Shot>`.
// Classes that derive from T and are larger use the heap. Arrays do so too.
template <class T, class AllocationTraits = PooledObjectAllocation::ExpandingTraits,
          class DebugTraits = PooledObjectDebug::NullTraits<T>>
class PooledObject
{
public:
    static void* operator new(std::size_t sizeBytes)
    {
        static_assert(alignof(T) <= __STDCPP_DEFAULT_NEW_ALIGNMENT__, "pools hold objects of common alignment");
        if (sizeBytes != sizeof(T)) [[unlikely]]
            return ::operator new(sizeBytes);
        DebugTraits& debug = Private::DebugTraitsHolder<DebugTraits>::get();
        LockFree::Stack<T>& stack = Private::StackHolder<T>::get();
        debug.ltb_beforePop(sizeBytes);
        void* const object = AllocationTraits::allocate(stack);
        debug.ltb_afterPop(object, sizeBytes);
        AllocationTraits::init(object);
        return object;
    }
    static void* operator new(std::size_t, void* place) noexcept { return place; }

    static void operator delete(void* object, std::size_t sizeBytes)
    {
        if (object == nullptr)
            return;
        if (sizeBytes != sizeof(T)) [[unlikely]]
            return ::operator delete(object);
        AllocationTraits::fini(object);
        DebugTraits& debug = Private::DebugTraitsHolder<DebugTraits>::get();
        LockFree::Stack<T>& stack = Private::StackHolder<T>::get();
        debug.ltb_beforePush(object, sizeBytes);
        AllocationTraits::deallocate(stack, object);
        debug.ltb_afterPush(object, sizeBytes);
    }
    static void operator delete(void*, void*) noexcept {}
};

} // namespace Mw
