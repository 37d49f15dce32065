#pragma once

#include "OS/OS.h"
#include "OS/ThreadMgr.h"

#include <functional>
#include <memory>
#include <utility>
#include <vector>

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

// Several threads that do the same work, each with its number.
class Crowd
{
public:
    Crowd(int size, const std::function<void(int)>& work)
    {
        for (int i = 0; i < size; ++i)
            runners_.push_back(std::make_unique<Runner>([work, i] { work(i); }));
    }

private:
    std::vector<std::unique_ptr<Runner>> runners_;
};

} // namespace test
