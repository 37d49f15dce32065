#pragma once

#include "OS/OS.h"
#include "OS/ThreadMgr.h"

#include <functional>
#include <utility>

#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
#define MW_TEST_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer) || __has_feature(address_sanitizer)
#define MW_TEST_SANITIZED 1
#endif
#endif

namespace test
{

inline iThreadMgr& threads()
{
    return OS().threadMgr();
}

// A thread of the platform that runs a function object; its destructor waits for the end.
class Runner
{
public:
    explicit Runner(std::function<void()> work, iThread::ExceptionHandler handler = nullptr,
                    const char* name = "runner", unsigned stackSizeBytes = 0)
        : work_(std::move(work)), thread_(threads().createThread({execute, this, stackSizeBytes, name, handler}))
    {
    }
    ~Runner() { join(); }
    Runner(const Runner&) = delete;
    Runner& operator=(const Runner&) = delete;

    void join() { thread_->waitForExit(-1); }
    const Mw::Ptr<iThread>& handle() const { return thread_; }
    iThread* operator->() const { return thread_.get(); }

    static iThread::eExecRC execute(void* self)
    {
        static_cast<Runner*>(self)->work_();
        return iThread::eExecOK;
    }

private:
    std::function<void()> work_;
    Mw::Ptr<iThread> thread_;
};

} // namespace test
