#include "OS/Immortal.h"
#include "OS/OS.h"
#include "OS/RecursiveLock.h"
#include "OS/ThreadExit.h"
#include "OS/ThreadMgr.h"
#include "OS/linux/EventWaits.h"
#include "OS/linux/NativeIOCompletionPort.h"
#include "OS/linux/NativeSemaphore.h"
#include "OS/linux/NativeThread.h"

#include "Mw/Assert.h"

#include <cerrno>
#include <sched.h>
#include <unistd.h>

namespace
{

class NativeMutex final : public iMutex
{
public:
    bool acquire(int timeoutMs) override { return lock_.tryEnterFor(timeoutMs); }

    void release() override
    {
        MW_ASSERT(lock_.isMine());
        if (lock_.isMine())
            lock_.leave();
    }

private:
    RecursiveLock lock_;
};

class NativeCriticalSection final : public iCriticalSection
{
public:
    void enter() override { lock_.enter(); }
    bool tryEnter() override { return lock_.tryEnter(); }
    std::uint32_t owner() override { return lock_.owner(); }

    void leave() override
    {
        MW_ASSERT(lock_.isMine());
        if (lock_.isMine())
            lock_.leave();
    }

private:
    RecursiveLock lock_;
};

class NativeThreadMgr final : public iThreadMgr
{
public:
    Mw::Ptr<iThread> createThread(const ThreadParams& params) override { return NativeThread::start(params); }

    Mw::Ptr<iThreadEvent> createEvent(iThreadEvent::eKind kind, bool set) override
    {
        return Mw::makePtr<NativeEvent>(kind, set);
    }
    Mw::Ptr<iMutex> createMutex() override { return Mw::makePtr<NativeMutex>(); }
    Mw::Ptr<iSemaphore> createSemaphore(int units) override { return Mw::makePtr<NativeSemaphore>(units); }
    Mw::Ptr<iCriticalSection> createCriticalSection() override { return Mw::makePtr<NativeCriticalSection>(); }
    Mw::Ptr<iIOCompletionPort> createIOCompletionPort() override { return Mw::makePtr<NativeIOCompletionPort>(); }

    int waitForEvents(const std::vector<Mw::Ptr<iThreadEvent>>& events, bool all, int timeoutMs) override
    {
        if (all)
            return waitForAll(events, timeoutMs) ? 0 : waitTimedOut;
        return waitForAny(events, timeoutMs);
    }

    std::uint32_t currentThreadId() override { return ThreadId::current(); }

    iThread::eExecRC protect(iThread::EntryFunction function, void* argument,
                             iThread::ExceptionHandler handler) override
    {
        return executeProtected(function, argument, handler);
    }

    void exitCurrentThread() override { ThreadExit::raise(); }

    void sleep(unsigned timeMs) override { sleepForMs(timeMs); }
    void yield() override { ::sched_yield(); }

    unsigned processorCount() override
    {
        cpu_set_t allowed;
        if (::sched_getaffinity(::getpid(), sizeof allowed, &allowed) == 0)
            return static_cast<unsigned>(CPU_COUNT(&allowed));
        // More processors than the set holds.
        const long online = ::sysconf(_SC_NPROCESSORS_ONLN);
        return online > 0 ? static_cast<unsigned>(online) : 1u;
    }
};

} // namespace

iThreadMgr& OperatingSystem::standardThreadMgr()
{
    return immortal<NativeThreadMgr>();
}
