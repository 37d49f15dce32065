#pragma once

#include "OS/ReaderLock.h"

#include <atomic>
#include <mutex>
#include <shared_mutex>
#include <type_traits>

// A value that any thread may read and write at any time; a reader sees the old one or the new one, whole. One of
// up to the size of a pointer is read and written as an int is, a larger one under a lock of its own, which is held
// for no longer than a copy takes.
template <class T>
class SharedValue
{
public:
    SharedValue() = default;
    explicit SharedValue(const T& value) : value_(value) {}

    T get() const
    {
        if constexpr (isWord)
            return std::atomic_ref<T>(value_).load(std::memory_order_relaxed);
        else
        {
            const std::shared_lock lock(lock_);
            return value_;
        }
    }

    void set(const T& value)
    {
        if constexpr (isWord)
            std::atomic_ref<T>(value_).store(value, std::memory_order_relaxed);
        else
        {
            const std::unique_lock lock(lock_);
            value_ = value;
        }
    }

    // False, and nothing happens, if it is equal.
    bool change(const T& value)
    {
        if (get() == value)
            return false;
        set(value);
        return true;
    }

private:
    static constexpr bool isWord =
        std::is_trivially_copyable_v<T> && sizeof(T) <= sizeof(void*) && alignof(T) == sizeof(T);

    struct NoLock
    {
    };

    mutable T value_{};
    [[no_unique_address]] mutable std::conditional_t<isWord, NoLock, ReaderLock> lock_{};
};
