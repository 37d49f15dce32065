#include "OS/linux/NativeThread.h"

#include "Mw/Exception.h"
#include "OS/OS.h"
#include "OS/ThreadExit.h"
#include "OS/ThreadId.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cxxabi.h>
#include <iterator>
#include <pthread.h>
#include <sched.h>
#include <sys/resource.h>
#include <unistd.h>

namespace
{

class Attributes
{
public:
    explicit Attributes(unsigned stackSizeBytes)
    {
        valid_ = ::pthread_attr_init(&attributes_) == 0;
        ::pthread_attr_setdetachstate(&attributes_, PTHREAD_CREATE_DETACHED);
        if (stackSizeBytes != 0)
            valid_ = valid_ && ::pthread_attr_setstacksize(&attributes_, allowedStackSize(stackSizeBytes)) == 0;
    }
    ~Attributes() { ::pthread_attr_destroy(&attributes_); }
    Attributes(const Attributes&) = delete;
    Attributes& operator=(const Attributes&) = delete;

    const pthread_attr_t* get() const noexcept { return valid_ ? &attributes_ : nullptr; }

private:
    // Whole pages, and no less than the system asks for.
    static std::size_t allowedStackSize(std::size_t sizeBytes)
    {
        const auto page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
        const auto least = static_cast<std::size_t>(::sysconf(_SC_THREAD_STACK_MIN));
        return (std::max(sizeBytes, least) + page - 1) / page * page;
    }

    pthread_attr_t attributes_;
    bool valid_;
};

// The system's names have 15 bytes; a character of UTF-8 is not cut in two.
void setSystemName(const LightweightString<char>& name)
{
    constexpr unsigned limit = 15;
    unsigned length = std::min(name.length(), limit);
    if (name.length() > limit)
        while (length > 0 && (static_cast<unsigned char>(name[length]) & 0xC0u) == 0x80u)
            --length;
    char cut[limit + 1] = {};
    std::copy_n(name.c_str(), length, cut);
    if (length != 0)
        ::pthread_setname_np(::pthread_self(), cut);
}

// Priorities as distances from the nice value of the process: a program that was started with a low
// priority keeps it in all its threads.
constexpr int niceOffsets[] = {10, 5, 0, -5, -10, -15};

int niceValue(pid_t id)
{
    return ::getpriority(PRIO_PROCESS, static_cast<id_t>(id));
}

bool setNiceValue(pid_t id, int value)
{
    return ::setpriority(PRIO_PROCESS, static_cast<id_t>(id), value) == 0;
}

// The lowest nice value that this process may set.
int leastNiceValue()
{
    rlimit limit{};
    if (::getrlimit(RLIMIT_NICE, &limit) != 0)
        return PRIO_MAX;
    return limit.rlim_cur >= 40 ? PRIO_MIN : 20 - static_cast<int>(limit.rlim_cur);
}

void sayOnce(int asked, int granted)
{
    static std::atomic<bool> said{false};
    if (said.exchange(true, std::memory_order_relaxed))
        return;
    char text[128];
    std::snprintf(text, sizeof text,
                  "Thread priority not allowed by the system: nice value %d asked for, %d given (said once)", asked,
                  granted);
    OS().message(text);
}

void report(iThread::ExceptionHandler handler, iThread::EntryFunction function, void* argument,
            std::vector<LightweightString<char>> stack)
{
    iThread::Exception exception;
    exception.function = reinterpret_cast<std::uintptr_t>(function);
    exception.argument = reinterpret_cast<std::uintptr_t>(argument);
    exception.stack = std::move(stack);
    handler(exception);
}

} // namespace

ThreadExit::ThreadExit() = default;
ThreadExit::ThreadExit(const ThreadExit&) = default;
ThreadExit::~ThreadExit() = default;

void ThreadExit::raise()
{
    throw ThreadExit();
}

// The sanitizer is told that a forced unwind has no object to refer to.
__attribute__((no_sanitize("null"))) iThread::eExecRC executeProtected(iThread::EntryFunction function, void* argument,
                                                                       iThread::ExceptionHandler handler)
{
    // Not caught, an exception without a handler ends the process where it was thrown, with its stack.
    if (handler == nullptr)
        return function(argument);
    try
    {
        return function(argument);
    }
    catch (const ThreadExit&)
    {
        throw;
    }
    catch (const abi::__forced_unwind&) // pthread_exit and cancellation, which must not be stopped
    {
        throw;
    }
    catch (const Mw::Exception::Base& exception)
    {
        report(handler, function, argument, {exception.stack_.begin(), exception.stack_.end()});
    }
    catch (...)
    {
        report(handler, function, argument, {});
    }
    return iThread::eExecFailed;
}

// The first thread-local object of a thread, and so the last that is destroyed. They are destroyed as well when
// the thread calls exit, and then it doesn't end: whoever waits for it would go on into the end of the process.
class NativeThread::AtEnd
{
public:
    explicit AtEnd(NativeThread& thread) noexcept : thread_(thread) {}
    ~AtEnd()
    {
        if (hasLeft_)
            thread_.end();
    }

    // Notes at the end of a scope, however it is left, that the thread's function is done.
    class Leave
    {
    public:
        explicit Leave(AtEnd& atEnd) noexcept : atEnd_(atEnd) {}
        ~Leave() { atEnd_.hasLeft_ = true; }
        Leave(const Leave&) = delete;
        Leave& operator=(const Leave&) = delete;

    private:
        AtEnd& atEnd_;
    };

private:
    NativeThread& thread_;
    bool hasLeft_ = false;
};

Mw::Ptr<iThread> NativeThread::start(const iThreadMgr::ThreadParams& params)
{
    const Attributes attributes(params.stackSizeBytes);
    if (params.function == nullptr || attributes.get() == nullptr)
        return {};
    const auto thread = Mw::makePtr<NativeThread>(params);
    thread->running_ = thread;
    pthread_t handle;
    if (::pthread_create(&handle, attributes.get(), body, thread.get()) != 0)
    {
        thread->running_.reset();
        return {};
    }
    return thread;
}

void* NativeThread::body(void* thread)
{
    auto& self = *static_cast<NativeThread*>(thread);
    thread_local AtEnd atEnd(self);
    const AtEnd::Leave leave(atEnd);
    self.begin();
    self.run();
    return nullptr;
}

void NativeThread::begin()
{
    setSystemName(params_.name);
    id_.store(ThreadId::current(), std::memory_order_release);
    futexWake(&id_, INT_MAX);
}

void NativeThread::run()
{
    try
    {
        executeProtected(params_.function, params_.argument, params_.exceptionHandler);
    }
    catch (const ThreadExit&)
    {
    }
    // Here and not in `end`: the objects may use thread-local ones.
    dropLocalObjects();
}

// The objects may look for each other while they go, and leave new ones: for a few rounds, not for ever.
void NativeThread::dropLocalObjects()
{
    for (int rounds = 0; rounds < 4 && !localObjects_.empty(); ++rounds)
    {
        LocalObjects last;
        last.swap(localObjects_);
    }
}

void NativeThread::end() noexcept
{
    const auto last = std::move(running_);
    ended_.set();
}

std::uint32_t NativeThread::threadId()
{
    const Deadline never(-1);
    std::uint32_t id;
    while ((id = id_.load(std::memory_order_acquire)) == 0 && !isInherited())
        futexWait(&id_, 0, never);
    return id;
}

pid_t NativeThread::systemId()
{
    const auto id = static_cast<pid_t>(threadId());
    return ended_.isSet() || isInherited() ? 0 : id;
}

bool NativeThread::setPriority(int priority)
{
    const pid_t id = systemId();
    if (id == 0 || priority < 0 || priority >= std::ssize(niceOffsets))
        return false;
    const int asked = std::clamp(niceValue(::getpid()) + niceOffsets[priority], PRIO_MIN, PRIO_MAX - 1);
    if (setNiceValue(id, asked))
        return true;
    if (errno != EACCES && errno != EPERM)
        return false;
    const int nearest = std::min(niceValue(id), std::max(asked, leastNiceValue()));
    const bool granted = setNiceValue(id, nearest);
    if (granted)
        sayOnce(asked, nearest);
    return granted;
}

bool NativeThread::setAffinity(int processors)
{
    const pid_t id = systemId();
    if (id == 0)
        return false;
    cpu_set_t allowed;
    CPU_ZERO(&allowed);
    for (unsigned processor = 0; processor < CPU_SETSIZE; ++processor)
        if (processors == 0 || (processor < 32 && (static_cast<unsigned>(processors) >> processor & 1u) != 0))
            CPU_SET(processor, &allowed);
    return ::sched_setaffinity(id, sizeof allowed, &allowed) == 0;
}

bool NativeThread::waitForExit(int timeoutMs)
{
    if (threadId() == ThreadId::current() && !ended_.isSet())
        return false;
    return isInherited() || ended_.wait(timeoutMs) == iThreadEvent::eWaitSuccess;
}
