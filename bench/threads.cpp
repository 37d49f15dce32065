// Area tasks, co-processes: who runs, and what belongs to the thread that runs.
//
// Workload: the id of the calling thread, read from a program that is none of the library; and an object of the
// thread's own, one of three, taken as a counted handle and let go again. Peers keep one object each and have no
// names. The main thread's objects are shared with all threads that are no co-processes, so they have a lock.

#include "bench/threads.h"

#include "bench/harness/Keep.h"
#include "bench/limits/limits.h"
#include "misc/threads/CoProcess.h"

#include <semaphore>

namespace
{

using namespace bench;

struct Object : iObject
{
};

class Loop
{
public:
    Loop() { co_create(body, "bench", 0, this, 0, 0); }

    void run(const std::function<void()>& function)
    {
        function_ = &function;
        given_.release();
        done_.acquire();
    }

private:
    static iThread::eExecRC body(void* self)
    {
        for (auto& loop = *static_cast<Loop*>(self);;)
        {
            loop.given_.acquire();
            (*loop.function_)();
            loop.done_.release();
        }
    }

    const std::function<void()>* function_ = nullptr;
    std::binary_semaphore given_{0};
    std::binary_semaphore done_{0};
};

const LightweightString<char> names[] = {"BTQStatus", "undo stack", "log context"};

void makeObjects()
{
    for (const LightweightString<char>& name : names)
        setThreadLocalObject(name, Mw::makePtr<Object>());
}

const Registration registration(
    [](Registry& registry)
    {
        registry.declare({threads::ownId,
                          "Reads the calling thread's id; the limit reads a thread_local of the program.",
                          {{1.1, theLimit}}});
        registry.declare({threads::ownObject,
                          "Takes a handle of an object of the calling co-process, by name.",
                          {{2.0, "QThreadStorage"}},
                          1,
                          Clock::wall});
        registry.declare({threads::mainObject, "The same on the main thread.", {{2.0, "QThreadStorage"}}});
        registry.ours(threads::ownId, [] { keepNumber(co_pid()); });
        registry.add(threads::ownId, {Role::limit, "thread_local", limit_read_thread_local});
        threads::addObject(registry, Role::ours, "ours", makeObjects,
                           []
                           {
                               const Mw::Ptr<iObject> object = getThreadLocalObject(names[0]);
                               keepNumber(object.get());
                           });
    });

} // namespace

void bench::threads::onCoProcess(const std::function<void()>& function)
{
    static Loop& loop = *new Loop;
    loop.run(function);
}
