#pragma once

#include "OS/Export.h"

#include <cstdint>

// The atomic operations that counted handles and lock-free lists are made of. All are inline: an
// increment compiles to one locked instruction and no call. Any thread.
//
// Increments are relaxed: whoever counts up already holds a reference. Decrements are acquire-release:
// the thread that sees zero also sees all that the others did to the object before they let go.

// Two words that are exchanged as one. 16-byte aligned, as the instruction asks.
struct alignas(16) PointerPair
{
    void* pointer = nullptr;
    std::uint64_t counter = 0;
};

class Atomics
{
public:
    // Adds 1 and gives the new value.
    int increment(int* value) const noexcept { return __atomic_add_fetch(value, 1, __ATOMIC_RELAXED); }

    // Subtracts 1 and gives the new value.
    int decrement(int* value) const noexcept { return __atomic_sub_fetch(value, 1, __ATOMIC_ACQ_REL); }

    // Reads with acquire order.
    int load(const int* value) const noexcept { return __atomic_load_n(value, __ATOMIC_ACQUIRE); }

    // Writes with release order.
    void store(int* value, int newValue) const noexcept { __atomic_store_n(value, newValue, __ATOMIC_RELEASE); }

    // The same for pointers.
    template <class T>
    T* loadPointer(T* const* slot) const noexcept
    {
        return __atomic_load_n(slot, __ATOMIC_ACQUIRE);
    }
    template <class T>
    void storePointer(T** slot, T* newValue) const noexcept
    {
        __atomic_store_n(slot, newValue, __ATOMIC_RELEASE);
    }

    // Puts `value` into the slot and gives what was there.
    void* exchange(void** slot, void* value) const noexcept
    {
        return __atomic_exchange_n(slot, value, __ATOMIC_ACQ_REL);
    }

    // Stores `newValue` if the slot holds `expected`; gives the value found, which equals `expected`
    // exactly when the exchange took place.
    int compareExchange(int* slot, int newValue, int expected) const noexcept
    {
        __atomic_compare_exchange_n(slot, &expected, newValue, false, __ATOMIC_ACQ_REL, __ATOMIC_ACQUIRE);
        return expected;
    }
    void* compareExchangePointer(void** slot, void* newValue, void* expected) const noexcept
    {
        __atomic_compare_exchange_n(slot, &expected, newValue, false, __ATOMIC_ACQ_REL, __ATOMIC_ACQUIRE);
        return expected;
    }

    // Reads the counter and then the pointer, each with acquire order. They are no one moment's: the pointer
    // may be newer than the counter. A pair exchange that expects the two then fails if whoever changes the
    // pointer raises the counter with it.
    PointerPair loadPair(const PointerPair* slot) const noexcept
    {
        const std::uint64_t counter = __atomic_load_n(&slot->counter, __ATOMIC_ACQUIRE);
        return {loadPointer(&slot->pointer), counter};
    }

    // compareExchangePointer for a pointer with a counter beside it. True if the exchange took place; otherwise
    // `expected` holds the pair found. Only where `hasPairExchange()`.
    bool compareExchangePair(PointerPair* slot, PointerPair newValue, PointerPair& expected) const noexcept;

    // Whether this processor has the 16-byte exchange.
    OS_API bool hasPairExchange() const noexcept;
};

#if defined(__SANITIZE_THREAD__)
#define MW_PAIR_EXCHANGE_IS_WATCHED 1
#elif defined(__has_feature)
#define MW_PAIR_EXCHANGE_IS_WATCHED __has_feature(thread_sanitizer)
#else
#define MW_PAIR_EXCHANGE_IS_WATCHED 0
#endif

#if MW_PAIR_EXCHANGE_IS_WATCHED

// The form that the thread sanitizer sees.
inline bool Atomics::compareExchangePair(PointerPair* slot, PointerPair newValue, PointerPair& expected) const noexcept
{
    __extension__ using Words [[gnu::may_alias]] = unsigned __int128;
    Words found = __builtin_bit_cast(Words, expected);
    const bool done =
        __atomic_compare_exchange_n(reinterpret_cast<Words*>(slot), &found, __builtin_bit_cast(Words, newValue), false,
                                    __ATOMIC_ACQ_REL, __ATOMIC_ACQUIRE);
    expected = __builtin_bit_cast(PointerPair, found);
    return done;
}

#elif defined(__x86_64__)

inline bool Atomics::compareExchangePair(PointerPair* slot, PointerPair newValue, PointerPair& expected) const noexcept
{
    // Written out because g++ makes a library call of the 16-byte built-in, at twice the time.
    bool done;
    __asm__ __volatile__("lock cmpxchg16b %[slot]"
                         : "=@ccz"(done), [slot] "+m"(*slot), "+a"(expected.pointer), "+d"(expected.counter)
                         : "b"(newValue.pointer), "c"(newValue.counter)
                         : "memory");
    return done;
}

#else

inline bool Atomics::compareExchangePair(PointerPair*, PointerPair, PointerPair&) const noexcept
{
    return false;
}

#endif
