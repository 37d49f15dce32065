#pragma once

#include "OS/Export.h"
#include "misc/notify/NotifyMsgTypeDictionary.h"

#include <atomic>

template <class T>
class MISC_API NotifierEx; // clang takes the visibility of the first declaration

namespace detail
{

// A field that issuing writes, const though its event is, and maybe from two threads at once. Copied like a plain one.
template <class V>
class Stamp
{
public:
    constexpr Stamp(V value) noexcept : value_(value) {}
    Stamp(const Stamp& other) noexcept : Stamp(V(other)) {}
    Stamp& operator=(const Stamp& other) noexcept
    {
        write(other);
        return *this;
    }

    operator V() const noexcept { return value_.load(std::memory_order_relaxed); }
    void write(V value) const noexcept { value_.store(value, std::memory_order_relaxed); }

private:
    mutable std::atomic<V> value_;
};

} // namespace detail

// What a typed notifier tells its clients. Type and source are written when it is issued, into the event of
// the caller, const though it is to him: a client that passes on what it was told issues a copy, or those
// behind it see the stamp of the other notifier.
//
// Threads: two may issue one event at once; each notifier's clients get a copy of it.
template <class T>
struct MISC_API NotifierEvent
{
    detail::Stamp<int> type = NotifyMsgTypeDictionary::anyType;
    detail::Stamp<const NotifierEx<T>*> source = nullptr;
    T value{};
};
