#pragma once

#include "Mw/Assert.h"
#include "Mw/LightweightString.h"
#include "OS/Thread.h"
#include "libmw/CriticalSection.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <new>
#include <utility>

// The table of co-processes, for CoProcess.cpp alone.

// One co-process. What isn't atomic and has no lock beside it stands fast when the table shows the entry.
struct CoProcessDesc
{
    enum State
    {
        ended = 0,
        running = 1,
        dying = 2
    };

    LightweightString<char> name;
    int state = running; // by way of OS().atomics()
    iThread::EntryFunction function = nullptr;
    void* argument = nullptr;
    int priority = 0;
    int affinity = -1;
    std::atomic<std::uint32_t> threadId{0};
    Mw::Ptr<iThread> thread; // under the table's lock
    std::atomic<bool> killRequested{false};

    std::atomic<iThread*> ownThread{nullptr}; // the same, for the thread itself, which keeps it alive
    std::atomic<int> isLaunched{0};           // whether the thread may begin
};

// Entries that never move and are never destroyed, so that reading by id takes no lock while others are added.
class CoProcessList
{
public:
    unsigned size() const noexcept { return size_.load(std::memory_order_acquire); }

    // Null for an unknown id.
    CoProcessDesc* find(unsigned id) const noexcept
    {
        return id < size() ? chunks_[id / chunkSize].load(std::memory_order_relaxed) + id % chunkSize : nullptr;
    }

    // Adds an entry that `fill` completes before anybody sees it; not for a full list. One thread at a time.
    template <class Fill>
    void append(Fill fill)
    {
        const unsigned id = size();
        std::atomic<CoProcessDesc*>& chunk = chunks_[id / chunkSize];
        if (id % chunkSize == 0 && chunk.load(std::memory_order_relaxed) == nullptr)
            chunk.store(std::allocator<CoProcessDesc>().allocate(chunkSize), std::memory_order_relaxed);
        fill(*::new (chunk.load(std::memory_order_relaxed) + id % chunkSize) CoProcessDesc);
        size_.store(id + 1, std::memory_order_release);
    }

    // Ids have 16 bits.
    bool isFull() const noexcept { return size() == chunkSize * chunkCount; }

private:
    static constexpr unsigned chunkSize = 256;
    static constexpr unsigned chunkCount = 256;

    std::array<std::atomic<CoProcessDesc*>, chunkCount> chunks_{};
    std::atomic<unsigned> size_{0};
};

constexpr unsigned kMaxProcesses = 256;

// Ready before the first constructor, and never destroyed, since threads may look at it to the end of the
// process; at exit it lets go of the threads' records.
class ProcessTable
{
public:
    CriticalSection lock{"co-processes"};
    CoProcessList processes_;

    // The caller holds the lock. Gives the id. More entries than were once thought of leave an assertion line.
    template <class Fill>
    unsigned append(Fill fill)
    {
        processes_.append(std::move(fill));
        MW_ASSERT_AT(processes_.size() < kMaxProcesses, "misc/switch line 161");
        return processes_.size() - 1;
    }
};
