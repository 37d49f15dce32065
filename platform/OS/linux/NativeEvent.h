#pragma once

#include "OS/Thread.h"
#include "OS/linux/Futex.h"

#include <bit>

// A value that threads sleep on, and how many of them there are, in one atomic: whoever changes the value
// learns in the same step whether anybody is to be woken, and need not look at the object again, which
// the woken thread may destroy.
//
//     bit 0      the value, the word that the system sees      bit 32     the count of waiters
class WaitedWord
{
public:
    static constexpr std::uint64_t oneWaiter = std::uint64_t{1} << 32;

    explicit WaitedWord(std::uint32_t value) noexcept : state(value) {}

    static std::uint32_t value(std::uint64_t state) noexcept { return static_cast<std::uint32_t>(state); }
    static std::uint32_t waiters(std::uint64_t state) noexcept { return static_cast<std::uint32_t>(state >> 32); }

    // The address of the low half, for the system.
    const void* word() const noexcept { return &state; }

    std::atomic<std::uint64_t> state;
    static_assert(std::endian::native == std::endian::little);
};

// An event of one of the two kinds. Setting it makes a system call only where a thread waits and the event
// was clear; waiting for one that is set makes none.
//
// While an automatic event is set and threads sleep on it, at least one thread is awake that will look at
// it again, or on its way out pass the wake-up on (`leave`). That is why setting it twice wakes once, and
// why a thread that waits for several events may take another one than the one it was woken for.
class NativeEvent final : public iThreadEvent
{
public:
    NativeEvent(eKind kind, bool set) noexcept : kind_(kind), waited_(set ? 1 : 0) {}

    eWaitRC wait(int timeoutMs) override;
    void set() override;
    void reset() override;

    // What waits are made of. `take` is true if the event is set, and clears an automatic one.
    bool isSet() const noexcept { return WaitedWord::value(waited_.state.load(std::memory_order_acquire)) != 0; }
    bool take() noexcept;

    // Undoes `take`.
    void giveBack() noexcept
    {
        if (kind_ == eAutoReset)
            set();
    }

    // Counts a waiter in and out. A wake-up that the leaving thread did not use goes to the next one.
    void enter() noexcept { waited_.state.fetch_add(WaitedWord::oneWaiter, std::memory_order_acq_rel); }
    void leave() noexcept;

    // Waits until the event is set, without taking it.
    bool waitUntilSet(const Deadline& deadline) noexcept;

    const void* word() const noexcept { return waited_.word(); }

private:
    const eKind kind_;
    WaitedWord waited_;
};
