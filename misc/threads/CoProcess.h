#pragma once

#include "Mw/LightweightString.h"
#include "OS/Export.h"
#include "OS/Thread.h"
#include "libmw/CriticalSection.h"
#include "libmw/Shutdown.h"
#include "misc/base/CmdContext.h"

#include <cstdint>

// Co-processes: the threads that the library makes, in one table. Each has a name, a small id that is never
// used again, a priority, and objects of its own. Nobody stops a co-process but itself: a kill is a flag that it
// looks at where it is safe. Any thread, except where an operation says otherwise.
//
// Id 0 is the main thread, and every thread that the table doesn't know counts as it. A name that begins with
// "$" marks a thread of the system, which the shutdown leaves to its owner.

// Enters the main thread and registers co_shutdown with Shutdown, at priority 700. Once: further calls do
// nothing. The first co_create calls it.
MISC_API void co_init();

// Starts a thread that runs `fn(arg)`, and gives its id. `name` may be null; the table keeps it whole. `priority`
// is one of the library's, -2 to 4. `affinity` is read and has no effect: the setting "affinity.NAME", which may
// still stand in somebody's configuration, must do no harm. A stack size of 0 is the system's default.
//
// Stops the program if the thread can't be made, if all 65,536 ids are used up, and after co_shutdown. While a
// thread's exception takes the program down it gives an id without a thread instead.
MISC_API unsigned short co_create(iThread::eExecRC (*fn)(void*), char const* name, int priority, void* arg,
                                  int affinity, unsigned int stackSizeBytes);

// Asks a co-process to end and waits, for a fifth of a second at most (a twentieth after a crash), unless it is
// the caller's own. Then the table forgets the thread, whether it has ended or not. Does nothing for an unknown
// id, one that was killed before, and after co_shutdown; stops the program before co_init.
MISC_API void co_kill(unsigned short id);

// A safe point, for co-processes to call now and then: if the caller was killed and doesn't hold the service
// lock, its thread ends here, by a ThreadExit that runs the destructors of its stack.
MISC_API void KillMyselfCheck();

// Kills all other co-processes, one after the other, apart from those of the system. It is final: no co-process
// starts after it.
MISC_API void co_shutdown(Shutdown::eExitType type);

namespace detail
{

class CoPid
{
public:
    static std::uint32_t get() noexcept { return id_; }
    static void set(std::uint32_t id) noexcept { id_ = id; }

private:
    // Initial-exec: one read relative to the thread register, from every library.
    MISC_API static constinit thread_local std::uint32_t id_ __attribute__((tls_model("initial-exec")));
};

} // namespace detail

// The calling thread's id, without a call.
inline unsigned short co_pid() noexcept
{
    return static_cast<unsigned short>(detail::CoPid::get());
}
inline bool isMainThread() noexcept
{
    return co_pid() == 0;
}

// The thread, null for the main thread, an unknown id and one that was killed.
MISC_API Mw::Ptr<iThread> coThreadGet(unsigned short id);

// The id that the platform gave the thread; 0 for an unknown id and one that was killed.
MISC_API std::uint32_t coThreadId(unsigned short id);

// Logs the table: the co-processes that run (R), or are being killed (?).
MISC_API void co_print(Cmd::Context const& context);

// Logs the name and thread of one. Nothing for an unknown id.
MISC_API void coDebugPrint(unsigned short id);

// The platform's priority, 0 to 5, for one of the library's, -2 to 4; 2, that of the process, for any other.
MISC_API int mapThreadPriority(int priority) noexcept;

// Objects by name, of which each co-process has its own, let go when its function is done. The main thread and
// those that the table doesn't know share one map, and so does a co-process that was killed and goes on.
// Getting gives null if there is none.
MISC_API Mw::Ptr<iObject> getThreadLocalObject(LightweightString<char> const& name);
MISC_API void setThreadLocalObject(LightweightString<char> const& name, Mw::Ptr<iObject> const& object);

// The shared map, and the lock under which to look at it.
MISC_API iThread::LocalObjects& getMainThreadObjectMap();
MISC_API CriticalSection& getMainThreadObjectMapLock();

// The handler that every thread of the library is made with. The first exception in the process is logged, with
// the co-process's name and the stack that the exception carries, and ends in postExceptionShutdown; later ones
// only count. On the thread that died.
MISC_API void threadExceptionHandler(const iThread::Exception& exception);

// Calls the function; an exception that leaves it goes to threadExceptionHandler. Gives 0.
MISC_API int protectedExecute(iThread::eExecRC (*fn)(void*), void* arg);

// Counts as a thread's exception and then splats, which therefore returns at once.
MISC_API void remote_exception_fn();

// The body of every co-process; `id` is its number, as a pointer.
MISC_API iThread::eExecRC threadLaunch(void* id);
