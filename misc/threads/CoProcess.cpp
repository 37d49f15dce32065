#include "misc/threads/CoProcess.h"

#include "OS/Immortal.h"
#include "OS/OS.h"
#include "OS/ThreadMgr.h"
#include "misc/diagnostics/FatalError.h"
#include "misc/diagnostics/Log.h"
#include "misc/settings/config.h"
#include "misc/threads/ProcessTable.h"
#include "misc/threads/ServiceLock.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

constinit thread_local std::uint32_t detail::CoPid::id_ = 0;

namespace
{

constexpr unsigned shutdownPriority = 700;
constexpr int killTimeoutMs = 200;
constexpr int killTimeoutAfterCrashMs = 50;

constinit ProcessTable table;

std::atomic<int> initialised{0};
std::atomic<int> deinitialised{0};

// At exit, what the table holds goes; its entries stay readable for the threads that still run.
class LetGoAtExit
{
public:
    ~LetGoAtExit()
    {
        for (unsigned id = 0; CoProcessDesc* const process = table.processes_.find(id); ++id)
        {
            Mw::Ptr<iThread> last;
            const CriticalSection::Lock lock(table.lock);
            process->thread.swap(last);
        }
    }
};

int stateOf(const CoProcessDesc& process)
{
    return OS().atomics().load(&process.state);
}

bool isOfTheSystem(const CoProcessDesc& process)
{
    return !process.name.empty() && process.name[0] == '$';
}

CoProcessDesc* self() noexcept
{
    return table.processes_.find(co_pid());
}

// As much of a text as a line of the log has room for: one of more than 255 characters would be lost.
template <int length>
class Cut
{
public:
    explicit Cut(const LightweightString<char>& text) { std::snprintf(text_, sizeof text_, "%s", text.c_str()); }
    const char* text() const noexcept { return text_; }

private:
    char text_[length + 1];
};
using CutName = Cut<200>;
using CutFrame = Cut<250>;

// Setting and parameter are inert on purpose; where they differ the log says so, and that is all.
void askForAffinity(const LightweightString<char>& name, int affinity)
{
    char key[128];
    std::snprintf(key, sizeof key, "affinity.%s", name.c_str());
    std::replace(key, key + std::strlen(key), ' ', '_');
    config_int(key, affinity);
}

void applyAffinity(CoProcessDesc& process, iThread& thread)
{
    if (process.affinity == -1 || thread.setAffinity(process.affinity))
        return;
    Log("Failed to set process affinity (%s)\n", CutName(process.name).text());
    process.affinity = 1;
    if (!thread.setAffinity(process.affinity))
        oma_splat("thread->setAffinity() failed\n");
}

Mw::Ptr<iThread> threadOf(const CoProcessDesc& process)
{
    const CriticalSection::Lock lock(table.lock);
    return process.thread;
}

// A kill may have come before the thread was there: then the table has forgotten it already.
void rememberThread(CoProcessDesc& process, const Mw::Ptr<iThread>& thread)
{
    const CriticalSection::Lock lock(table.lock);
    if (process.killRequested.load(std::memory_order_acquire))
        return;
    process.thread = thread;
    process.ownThread.store(thread.get(), std::memory_order_release);
}

void forgetThread(CoProcessDesc& process)
{
    Mw::Ptr<iThread> last;
    const CriticalSection::Lock lock(table.lock);
    process.thread.swap(last);
    process.ownThread.store(nullptr, std::memory_order_release);
}

// Null if there is no room, or after the shutdown.
CoProcessDesc* enter(iThread::EntryFunction function, void* argument, const LightweightString<char>& name, int priority,
                     unsigned short& id)
{
    const CriticalSection::Lock lock(table.lock);
    if (table.processes_.isFull() || deinitialised.load(std::memory_order_acquire) != 0)
        return nullptr;
    id = static_cast<unsigned short>(table.append(
        [&](CoProcessDesc& process)
        {
            process.name = name;
            process.function = function;
            process.argument = argument;
            process.priority = mapThreadPriority(priority);
        }));
    return table.processes_.find(id);
}

void start(CoProcessDesc& process, unsigned short id, unsigned stackSizeBytes)
{
    const Mw::Ptr<iThread> thread =
        OS().threadMgr().createThread({threadLaunch, reinterpret_cast<void*>(static_cast<std::uintptr_t>(id)),
                                       stackSizeBytes, process.name, threadExceptionHandler, false});
    if (!thread)
    {
        oma_splat("OS().threadMgr().createThread() failed\n");
        OS().atomics().store(&process.state, CoProcessDesc::ended);
        return;
    }
    rememberThread(process, thread);
    if (!thread->setPriority(process.priority))
        oma_splat("thread->setPriority() failed\n");
    process.threadId.store(thread->threadId(), std::memory_order_relaxed);
    applyAffinity(process, *thread);
    // Only now, since a thread that had ended would take no priority, and one without its record would leave its
    // objects with the main thread.
    process.isLaunched.store(1, std::memory_order_release);
    process.isLaunched.notify_all();
}

// No more entries from now on; false if there are more than the caller has seen.
bool closeTable(unsigned seen)
{
    const CriticalSection::Lock lock(table.lock);
    if (table.processes_.size() != seen)
        return false;
    deinitialised.store(1, std::memory_order_release);
    return true;
}

bool hasDied(const CoProcessDesc& process, const iThread::Exception& exception)
{
    return process.function != nullptr && reinterpret_cast<std::uintptr_t>(process.function) == exception.function &&
           reinterpret_cast<std::uintptr_t>(process.argument) == exception.argument;
}

// Of several with the same function and argument it is the caller, if that is one of them.
CoProcessDesc* processOf(const iThread::Exception& exception)
{
    const CriticalSection::Lock lock(table.lock);
    if (CoProcessDesc* const own = self(); own != nullptr && hasDied(*own, exception))
        return own;
    for (unsigned id = 0; CoProcessDesc* const process = table.processes_.find(id); ++id)
        if (hasDied(*process, exception))
            return process;
    return nullptr;
}

} // namespace

void co_init()
{
    if (initialised.load(std::memory_order_acquire) != 0)
        return;
    if (deinitialised.load(std::memory_order_acquire) != 0)
    {
        oma_splat("co_init: Attempt to reinitialise co_process module");
        return;
    }
    const CriticalSection::Lock lock(table.lock);
    if (initialised.load(std::memory_order_relaxed) != 0)
        return;
    static const LetGoAtExit letGoAtExit;
    detail::CoPid::set(0);
    table.append(
        [](CoProcessDesc& process)
        {
            process.name = "$ root";
            process.threadId.store(OS().threadMgr().currentThreadId(), std::memory_order_relaxed);
        });
    Shutdown::addCallback(co_shutdown, shutdownPriority);
    initialised.store(1, std::memory_order_release);
}

unsigned short co_create(iThread::eExecRC (*fn)(void*), char const* name, int priority, void* arg, int affinity,
                         unsigned int stackSizeBytes)
{
    co_init();
    const LightweightString<char> itsName(name != nullptr ? name : "");
    unsigned short id = 0;
    CoProcessDesc* const process = enter(fn, arg, itsName, priority, id);
    if (process == nullptr)
    {
        oma_splat(table.processes_.isFull() ? "co_create: No id left for another process"
                                            : "co_create: Attempt to create process after co-process deinitialisation");
        return 0;
    }
    askForAffinity(itsName, affinity);
    start(*process, id, stackSizeBytes);
    return id;
}

iThread::eExecRC threadLaunch(void* id)
{
    detail::CoPid::set(static_cast<unsigned short>(reinterpret_cast<std::uintptr_t>(id)));
    CoProcessDesc* const process = self();
    if (process == nullptr)
        return iThread::eExecFailed;
    process->isLaunched.wait(0, std::memory_order_acquire);
    if (stateOf(*process) == CoProcessDesc::ended && !process->killRequested.load(std::memory_order_acquire))
        OS().atomics().store(&process->state, CoProcessDesc::running);
    // Under a handler of its own: the one outside would learn of this function instead of the process's.
    return OS().threadMgr().protect(process->function, process->argument, threadExceptionHandler);
}

void co_kill(unsigned short id)
{
    if (initialised.load(std::memory_order_acquire) == 0)
    {
        oma_splat("co_kill: Attempt to kill process before co-process initialisation");
        return;
    }
    CoProcessDesc* const process = table.processes_.find(id);
    if (deinitialised.load(std::memory_order_acquire) != 0 || process == nullptr)
        return;
    if (OS().atomics().compareExchange(&process->state, CoProcessDesc::dying, CoProcessDesc::running) !=
        CoProcessDesc::running)
        return;
    process->killRequested.store(true, std::memory_order_release);
    if (const Mw::Ptr<iThread> thread = threadOf(*process); thread && id != co_pid())
        thread->waitForExit(get_crash_flag() != 0 ? killTimeoutAfterCrashMs : killTimeoutMs);
    forgetThread(*process);
    OS().atomics().store(&process->state, CoProcessDesc::ended);
}

void KillMyselfCheck()
{
    const CoProcessDesc* const process = self();
    if (process == nullptr || !process->killRequested.load(std::memory_order_acquire)) [[likely]]
        return;
    if (who_owns_service_lock() != OS().threadMgr().currentThreadId())
        OS().threadMgr().exitCurrentThread();
}

void co_shutdown(Shutdown::eExitType)
{
    if (initialised.load(std::memory_order_acquire) == 0 || deinitialised.load(std::memory_order_acquire) != 0)
        return;
    unsigned id = 0;
    do
        for (; const CoProcessDesc* const process = table.processes_.find(id); ++id)
            if (id != co_pid() && stateOf(*process) == CoProcessDesc::running && !isOfTheSystem(*process))
                co_kill(static_cast<unsigned short>(id));
    while (!closeTable(id));
    OS().atomics().store(&self()->state, CoProcessDesc::ended);
}

Mw::Ptr<iThread> coThreadGet(unsigned short id)
{
    const CoProcessDesc* const process = table.processes_.find(id);
    return process != nullptr ? threadOf(*process) : nullptr;
}

std::uint32_t coThreadId(unsigned short id)
{
    const CoProcessDesc* const process = table.processes_.find(id);
    if (process == nullptr || stateOf(*process) == CoProcessDesc::ended)
        return 0;
    return process->threadId.load(std::memory_order_relaxed);
}

void co_print(Cmd::Context const&)
{
    Log("proc(id) : priority state tid(dec/hex) name\n");
    Log("-------------------------------------------\n");
    for (unsigned id = 0; const CoProcessDesc* const process = table.processes_.find(id); ++id)
        if (const int state = stateOf(*process); state != CoProcessDesc::ended)
        {
            const unsigned threadId = process->threadId.load(std::memory_order_relaxed);
            Log("proc(%02d) : %02d %c %03d/%02x %s\n", static_cast<int>(id), process->priority,
                state == CoProcessDesc::running ? 'R' : '?', static_cast<int>(threadId), threadId,
                CutName(process->name).text());
        }
    Log("\n");
}

void coDebugPrint(unsigned short id)
{
    if (const CoProcessDesc* const process = table.processes_.find(id))
        Log("%s (%d)\n", CutName(process->name).text(),
            static_cast<int>(process->threadId.load(std::memory_order_relaxed)));
}

int mapThreadPriority(int priority) noexcept
{
    constexpr std::array<int, 7> priorities = {0, 1, 2, 3, 4, 5, 5}; // from -2 on
    constexpr int normal = 2;
    return priority < -2 || priority > 4 ? normal : priorities[static_cast<std::size_t>(priority + 2)];
}

void threadExceptionHandler(const iThread::Exception& exception)
{
    if (raiseThreadExceptionCount() != 0)
        return;
    if (CoProcessDesc* const process = processOf(exception))
    {
        OS().atomics().store(&process->state, CoProcessDesc::ended);
        LogBoth("\n\n***************** EXCEPTION (%s) *****************\n\n", CutName(process->name).text());
    }
    else
        LogBoth("\n\n***************** EXCEPTION *****************\n\n");
    for (const LightweightString<char>& line : exception.stack)
        LogBoth("%s\n", CutFrame(line).text());
    postExceptionShutdown();
}

int protectedExecute(iThread::eExecRC (*fn)(void*), void* arg)
{
    OS().threadMgr().protect(fn, arg, threadExceptionHandler);
    return 0;
}

void remote_exception_fn()
{
    raiseThreadExceptionCount();
    oma_splat("Remotely raised exception");
}

namespace
{

constinit CriticalSection sharedObjectsLock("objects of the main thread");

// What the shared map holds at exit goes.
class EmptyAtExit
{
public:
    explicit EmptyAtExit(iThread::LocalObjects& objects) noexcept : objects_(objects) {}
    ~EmptyAtExit()
    {
        iThread::LocalObjects last;
        const CriticalSection::Lock lock(sharedObjectsLock);
        objects_.swap(last);
    }
    EmptyAtExit(const EmptyAtExit&) = delete;
    EmptyAtExit& operator=(const EmptyAtExit&) = delete;

private:
    iThread::LocalObjects& objects_;
};

// The map itself stays for the threads that still run then.
iThread::LocalObjects* makeSharedObjects()
{
    auto& objects = immortal<iThread::LocalObjects>();
    static const EmptyAtExit emptyAtExit(objects);
    return &objects;
}

constinit iThread::LocalObjects* sharedObjects = nullptr; // under the lock

// Calls a function with the caller's map, under a lock where threads share it.
template <class Function>
auto withLocalObjects(Function function)
{
    const CoProcessDesc* const process = self();
    iThread* const thread = process != nullptr ? process->ownThread.load(std::memory_order_acquire) : nullptr;
    if (thread != nullptr)
        return function(thread->localObjects());
    const CriticalSection::Lock lock(sharedObjectsLock);
    if (sharedObjects == nullptr) [[unlikely]]
        sharedObjects = makeSharedObjects();
    return function(*sharedObjects);
}

} // namespace

iThread::LocalObjects& getMainThreadObjectMap()
{
    return *makeSharedObjects();
}

CriticalSection& getMainThreadObjectMapLock()
{
    return sharedObjectsLock;
}

Mw::Ptr<iObject> getThreadLocalObject(LightweightString<char> const& name)
{
    return withLocalObjects(
        [&](const iThread::LocalObjects& objects)
        {
            const auto found = objects.find(name);
            return found != objects.end() ? found->second : Mw::Ptr<iObject>();
        });
}

// What was there before is let go when the lock is free again.
void setThreadLocalObject(LightweightString<char> const& name, Mw::Ptr<iObject> const& object)
{
    Mw::Ptr<iObject> replaced = object;
    withLocalObjects([&](iThread::LocalObjects& objects) { objects[name].swap(replaced); });
}
