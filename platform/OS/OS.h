#pragma once

#include "OS/Allocator.h"
#include "OS/Atomics.h"
#include "OS/Export.h"

#include <atomic>

class iDebugger;
class iDesktop;
class iDisplay;
class iFileMgr;
class iSystemInfo;
class iThreadMgr;
class iWindowing;

// The operating system as the library sees it: one object, reached by OS(), whose accessors give the
// services. It works before any static constructor and after the last static destructor; the standard
// services are made on first use and never destroyed. Any thread.
//
// Each service but atomics and allocator can be replaced by a host or a test with `replace`.
class OperatingSystem
{
public:
    const Atomics& atomics() const noexcept { return atomics_; }
    const Allocator& allocator() const noexcept { return allocator_; }

    iDebugger& debugger() { return get(debugger_, standardDebugger); }
    iFileMgr& fileMgr() { return get(fileMgr_, standardFileMgr); }
    iThreadMgr& threadMgr() { return get(threadMgr_, standardThreadMgr); }
    iWindowing& windowing() { return get(windowing_, standardWindowing); }
    iSystemInfo& systemInfo() { return get(systemInfo_, standardSystemInfo); }
    iDisplay& display() { return get(display_, standardDisplay); }
    iDesktop& desktop() { return get(desktop_, standardDesktop); }

    // Puts another service in place, which the caller keeps alive until it is replaced in turn; gives
    // the one before. A null pointer brings the standard one back.
    iDebugger& replace(iDebugger* service) { return exchange(debugger_, service, standardDebugger); }
    iFileMgr& replace(iFileMgr* service) { return exchange(fileMgr_, service, standardFileMgr); }
    iThreadMgr& replace(iThreadMgr* service) { return exchange(threadMgr_, service, standardThreadMgr); }
    iWindowing& replace(iWindowing* service) { return exchange(windowing_, service, standardWindowing); }
    iSystemInfo& replace(iSystemInfo* service) { return exchange(systemInfo_, service, standardSystemInfo); }
    iDisplay& replace(iDisplay* service) { return exchange(display_, service, standardDisplay); }
    iDesktop& replace(iDesktop* service) { return exchange(desktop_, service, standardDesktop); }

    // What the platform layer itself has to say (it stands below the log) goes through one function:
    // standard error until a host or the log sets another. `text` is UTF-8 without a new line.
    using MessageFunction = void (*)(const char* text);
    OS_API MessageFunction setMessageFunction(MessageFunction function) noexcept;
    OS_API void message(const char* text);

private:
    template <class S>
    using Slot = std::atomic<S*>;

    template <class S>
    static S& get(Slot<S>& slot, S& (*standard)())
    {
        if (S* const service = slot.load(std::memory_order_acquire)) [[likely]]
            return *service;
        return install(slot, standard);
    }
    template <class S>
    static S& install(Slot<S>& slot, S& (*standard)())
    {
        S* none = nullptr;
        S& service = standard();
        return slot.compare_exchange_strong(none, &service, std::memory_order_acq_rel) ? service : *none;
    }
    template <class S>
    static S& exchange(Slot<S>& slot, S* service, S& (*standard)())
    {
        S* const before = slot.exchange(service, std::memory_order_acq_rel);
        return before != nullptr ? *before : standard();
    }

    OS_API static iDebugger& standardDebugger();
    OS_API static iFileMgr& standardFileMgr();
    OS_API static iThreadMgr& standardThreadMgr();
    OS_API static iWindowing& standardWindowing();
    OS_API static iSystemInfo& standardSystemInfo();
    OS_API static iDisplay& standardDisplay();
    OS_API static iDesktop& standardDesktop();

    static constexpr Atomics atomics_{};
    static constexpr Allocator allocator_{};

    Slot<iDebugger> debugger_{nullptr};
    Slot<iFileMgr> fileMgr_{nullptr};
    Slot<iThreadMgr> threadMgr_{nullptr};
    Slot<iWindowing> windowing_{nullptr};
    Slot<iSystemInfo> systemInfo_{nullptr};
    Slot<iDisplay> display_{nullptr};
    Slot<iDesktop> desktop_{nullptr};
    std::atomic<MessageFunction> message_{nullptr};
};

extern OS_API OperatingSystem theOperatingSystem;

inline OperatingSystem& OS() noexcept
{
    return theOperatingSystem;
}

// Replaces a service for the time of a scope, as tests do.
template <class S>
class OSReplacement
{
public:
    explicit OSReplacement(S& service) : before_(OS().replace(&service)) {}
    ~OSReplacement() { OS().replace(&before_); }
    OSReplacement(const OSReplacement&) = delete;
    OSReplacement& operator=(const OSReplacement&) = delete;

private:
    S& before_;
};
