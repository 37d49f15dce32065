#pragma once

#include "Mw/iObject.h"
#include "OS/OS.h"

#include <compare>
#include <concepts>
#include <cstddef>
#include <functional>
#include <new>
#include <type_traits>
#include <typeinfo>
#include <utility>

namespace Mw
{

// Destroy trait: plain `delete`, which is the deleting destructor where the type has a virtual one.
struct DtorTraits
{
    template <class T>
    static void destroy(T* object)
    {
        delete object;
    }
};

namespace detail
{

template <class T>
concept HasOwnCount = requires(T& object)
{
    {
        &object.refCount_
        } -> std::same_as<int*>;
};

// Blocks with a count of their own, such as those of strings, and objects that say so.
template <class T>
concept HasMostlyOneOwner = HasOwnCount<T> || requires
{
    T::hasMostlyOneOwner;
};

// Counts down; true when this was the last reference, and the count is then 0. What has one owner needs no
// locked instruction: nobody else can hold, and so copy, a reference. For objects that are mostly shared that
// look at the count would cost two threads that meet there half as much again.
template <class T>
bool dropCount(int* count) noexcept
{
    if constexpr (HasMostlyOneOwner<T>)
        if (OS().atomics().load(count) == 1)
        {
            *count = 0;
            return true;
        }
    return OS().atomics().decrement(count) == 0;
}

} // namespace detail

// Count trait: inside the object, in its InternalRefCount or in a field `refCount_` of its own.
struct InternalRefCountTraits
{
    template <class T>
    static int* countFor(T* object) noexcept
    {
        using Object = std::remove_const_t<T>;
        if constexpr (detail::HasOwnCount<Object>)
            return &const_cast<Object*>(object)->refCount_;
        else
            return &static_cast<InternalRefCount*>(const_cast<Object*>(object))->count_;
    }
    static void releaseCount(int*) noexcept {}
};

// Count trait: in a block of its own, for types that are no iObjects. An object is to be adopted once.
struct ExternalRefCountTraits
{
    template <class T>
    static int* countFor(T*)
    {
        return new int(0);
    }
    static void releaseCount(int* count) noexcept { delete count; }
};

// Counted pointer of two words: where the count is, and the object. It is null when the object is; the
// count field then has no meaning. A null Ptr makes no call at all.
//
// Threads: any number of threads may each hold their own Ptr to one object. One Ptr is not to be
// assigned by one thread while another reads it.
template <class T, class DtorTraits_ = DtorTraits, class RefCountTraits_ = InternalRefCountTraits>
class Ptr
{
public:
    using element_type = T;
    using DtorTraitsT = DtorTraits_;
    using RefCountTraitsT = RefCountTraits_;

    Ptr() noexcept : count_(nullptr), object_(nullptr) {}
    Ptr(std::nullptr_t) noexcept : Ptr() {}

    // Adopts: the object is destroyed with the last Ptr to it. If no count can be made, it is destroyed
    // and the failure thrown on.
    explicit Ptr(T* object) : count_(nullptr), object_(object)
    {
        if (object_ != nullptr)
            adopt();
    }

    // Takes over a reference that the object's count, which is inside it, has already: a new object whose
    // count was made 1 needs no atomic instruction.
    static Ptr fromCounted(T* object) noexcept
    {
        Ptr taken;
        taken.count_ = RefCountTraitsT::countFor(object);
        taken.object_ = object;
        return taken;
    }

    Ptr(const Ptr& other) noexcept : Ptr() { share(other.count_, other.object_); }

    Ptr(Ptr&& other) noexcept : count_(other.count_), object_(std::exchange(other.object_, nullptr)) {}

    // To a base, virtual or not, or to const. A null source gives null.
    template <class U>
        requires(!std::is_same_v<U, T> && std::is_convertible_v<U*, T*>)
    Ptr(const Ptr<U, DtorTraitsT, RefCountTraitsT>& other)
    noexcept : Ptr()
    {
        if (other.object_ != nullptr)
            share(other.count_, static_cast<T*>(other.object_));
    }
    template <class U>
        requires(!std::is_same_v<U, T> && std::is_convertible_v<U*, T*>)
    Ptr(Ptr<U, DtorTraitsT, RefCountTraitsT>&& other)
    noexcept : count_(other.count_), object_(other.object_ != nullptr ? static_cast<T*>(other.object_) : nullptr)
    {
        other.object_ = nullptr;
    }

    ~Ptr() { Held{count_, object_}.release(); }

    // The old object is let go only after the new one is stored and counted: a destructor that reaches
    // back into this Ptr sees the new value. Assigning a Ptr to itself does nothing.
    Ptr& operator=(const Ptr& other) noexcept
    {
        if (this != &other)
        {
            const Held old = {count_, object_};
            count_ = other.count_;
            object_ = other.object_;
            incRef();
            old.release();
        }
        return *this;
    }
    Ptr& operator=(Ptr&& other) noexcept
    {
        Ptr(std::move(other)).swap(*this);
        return *this;
    }
    Ptr& operator=(std::nullptr_t) noexcept
    {
        reset();
        return *this;
    }

    void reset() noexcept { Ptr().swap(*this); }
    void swap(Ptr& other) noexcept
    {
        std::swap(count_, other.count_);
        std::swap(object_, other.object_);
    }

    T* get() const noexcept { return object_; }
    T& operator*() const noexcept requires(!std::is_void_v<T>) { return *object_; }
    T* operator->() const noexcept { return object_; }
    explicit operator bool() const noexcept { return object_ != nullptr; }

    // How many Ptrs hold the object at this moment; 0 for null. For diagnostics: other threads may
    // change it at once.
    int useCount() const noexcept { return object_ != nullptr ? OS().atomics().load(count_) : 0; }

    void incRef() noexcept
    {
        if (object_ != nullptr)
            OS().atomics().increment(count_);
    }

    // Lets go of the object, which the last reference destroys; only then is this Ptr null.
    void decRef() noexcept
    {
        if (!Held{count_, object_}.release())
            return;
        count_ = nullptr;
        object_ = nullptr;
    }

private:
    template <class, class, class>
    friend class Ptr;
    template <class To, class From, class D, class R>
    friend Ptr<To, D, R> dynamicCast(const Ptr<From, D, R>&) noexcept;
    template <class To, class From, class D, class R>
    friend Ptr<To, D, R> dynamicCast(Ptr<From, D, R>&&) noexcept;
    template <class To, class From, class D, class R>
    friend Ptr<To, D, R> staticCast(Ptr<From, D, R>&&) noexcept;

    // A reference that is to be let go, apart from the Ptr that had it.
    struct Held
    {
        int* count_;
        T* object_;

        // True if it was the last one, and the object is gone.
        bool release() const noexcept
        {
            if (object_ == nullptr || !detail::dropCount<T>(count_))
                return false;
            RefCountTraitsT::releaseCount(count_);
            DtorTraitsT::destroy(object_);
            return true;
        }
    };

    // Takes the fields of another, which count up; this is null. A null one has been copied then, and its
    // count field isn't read: that would cost more than the rest. The straight way is that of null, where a
    // jump shows; beside a locked instruction it doesn't.
    void share(int* const& count, T* object) noexcept
    {
        if (object == nullptr) [[likely]]
            return;
        count_ = count;
        object_ = object;
        OS().atomics().increment(count_);
    }

    void adopt()
    {
        if constexpr (noexcept(RefCountTraitsT::countFor(object_)))
            count_ = RefCountTraitsT::countFor(object_);
        else
        {
            try
            {
                count_ = RefCountTraitsT::countFor(object_);
            }
            catch (...)
            {
                DtorTraitsT::destroy(object_);
                throw;
            }
        }
        // A count of 0 says that nobody else can hold a reference yet, and so needs no locked instruction.
        if (OS().atomics().load(count_) == 0)
            OS().atomics().store(count_, 1);
        else
            OS().atomics().increment(count_);
    }

    int* count_;
    T* object_;
};

namespace detail
{

// dynamic_cast, which walks the classes of the object. Most casts ask for the object's own class, and that
// takes one comparison: the object then begins where its To begins.
template <class To, class From>
To* checkedCast(From* object) noexcept
{
    if constexpr (std::is_convertible_v<To*, From*> && !std::is_abstract_v<To>)
    {
        using Whole = std::conditional_t<std::is_const_v<From>, const void, void>;
        if (object != nullptr && &typeid(*object) == &typeid(To))
            return static_cast<To*>(dynamic_cast<Whole*>(object));
    }
    return dynamic_cast<To*>(object);
}

} // namespace detail

// The object as another class, checked at run time. A failed cast or a null source gives null and
// changes no count.
template <class To, class From, class D, class R>
Ptr<To, D, R> dynamicCast(const Ptr<From, D, R>& from) noexcept
{
    Ptr<To, D, R> to;
    if (To* const object = detail::checkedCast<To>(from.object_))
    {
        to.count_ = from.count_;
        to.object_ = object;
        to.incRef();
    }
    return to;
}

// The same, taking the reference over: the source is null afterwards if the cast succeeds.
template <class To, class From, class D, class R>
Ptr<To, D, R> dynamicCast(Ptr<From, D, R>&& from) noexcept
{
    Ptr<To, D, R> to;
    if (To* const object = detail::checkedCast<To>(from.object_))
    {
        to.count_ = from.count_;
        to.object_ = object;
        from.object_ = nullptr;
    }
    return to;
}

// The object as another class that it is known to have, taking the reference over.
template <class To, class From, class D, class R>
Ptr<To, D, R> staticCast(Ptr<From, D, R>&& from) noexcept
{
    Ptr<To, D, R> to;
    to.count_ = from.count_;
    to.object_ = static_cast<To*>(std::exchange(from.object_, nullptr));
    return to;
}

// A new T in a Ptr.
template <class T, class... Args>
Ptr<T> makePtr(Args&&... args)
{
    return Ptr<T>(new T(std::forward<Args>(args)...));
}

// Comparison is by the address of the object, unsigned: the order of maps keyed on Ptr.
template <class T, class U, class D, class R>
bool operator==(const Ptr<T, D, R>& a, const Ptr<U, D, R>& b) noexcept
{
    return a.get() == b.get();
}
template <class T, class D, class R>
bool operator==(const Ptr<T, D, R>& a, std::nullptr_t) noexcept
{
    return a.get() == nullptr;
}
template <class T, class U, class D, class R>
bool operator==(const Ptr<T, D, R>& a, const U* b) noexcept
{
    return a.get() == b;
}
template <class T, class D, class R>
std::strong_ordering operator<=>(const Ptr<T, D, R>& a, const Ptr<T, D, R>& b) noexcept
{
    return std::compare_three_way()(a.get(), b.get());
}

template <class T, class D, class R>
void swap(Ptr<T, D, R>& a, Ptr<T, D, R>& b) noexcept
{
    a.swap(b);
}

} // namespace Mw

template <class T, class D, class R>
struct std::hash<Mw::Ptr<T, D, R>>
{
    std::size_t operator()(const Mw::Ptr<T, D, R>& p) const noexcept { return std::hash<T*>()(p.get()); }
};
