#pragma once

#include "OS/linux/NativeSemaphore.h"

#include <deque>
#include <mutex>

// A unit of the semaphore stands for each completion in the queue. A closed port has one more, which whoever
// takes it and finds nothing hands on, so that it lets everybody go on.
class NativeIOCompletionPort final : public iIOCompletionPort
{
public:
    bool post(const Completion& completion) override;
    eWaitRC wait(Completion& completion, int timeoutMs) override;
    void close() override;

private:
    std::mutex lock_;
    std::deque<Completion> queue_;
    bool closed_ = false;
    NativeSemaphore units_{0};
};
