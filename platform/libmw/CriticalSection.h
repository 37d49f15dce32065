#pragma once

#include "OS/Export.h"
#include "OS/RecursiveLock.h"

#include <cstdint>

// A lock that the thread which holds it may enter again. The name is for diagnostics and is not copied. An
// uncontended enter or leave makes no call.
//
// Can be a static object of any module: it is ready before the first constructor runs and stays ready
// after the last destructor. It can't be moved or copied. A forked child has it as it stood: one that
// another thread held at the fork stays locked there.
class CriticalSection
{
public:
    constexpr CriticalSection() noexcept = default;
    constexpr explicit CriticalSection(const char* name) noexcept : name_(name) {}
    CriticalSection(const CriticalSection&) = delete;
    CriticalSection& operator=(const CriticalSection&) = delete;

    // Blocks until this thread owns the lock. Each enter asks for one leave.
    void enter() noexcept { lock_.enter(); }

    // The same for threads that each take the lock for moments and come again at once: they take turns of some
    // microseconds.
    void enterInTurns() noexcept { lock_.enterInTurns(); }

    // Gives up a level of ownership; only for the owner.
    void leave() noexcept { lock_.leave(); }

    // As enter, but gives false at once where another thread owns the lock.
    [[nodiscard]] bool tryEnter() noexcept { return lock_.tryEnter(); }

    // The id of the owning thread as OS().threadMgr() counts them, 0 for none. For assertions: only
    // whether it is the caller's own is certain.
    std::uint32_t owner() const noexcept { return lock_.owner(); }

    const char* name() const noexcept { return name_; }

    // Owns the lock for a scope.
    class [[nodiscard]] Lock
    {
    public:
        explicit Lock(CriticalSection& section) noexcept : section_(section) { section_.enter(); }
        ~Lock() { section_.leave(); }
        Lock(const Lock&) = delete;
        Lock& operator=(const Lock&) = delete;

    private:
        CriticalSection& section_;
    };

private:
    RecursiveLock lock_;
    const char* name_ = "";
};
