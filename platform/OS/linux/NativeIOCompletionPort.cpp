#include "OS/linux/NativeIOCompletionPort.h"

#include <utility>

bool NativeIOCompletionPort::post(const Completion& completion)
{
    {
        const std::lock_guard<std::mutex> lock(lock_);
        if (closed_)
            return false;
        queue_.push_back(completion);
    }
    units_.release(1);
    return true;
}

iIOCompletionPort::eWaitRC NativeIOCompletionPort::wait(Completion& completion, int timeoutMs)
{
    if (!units_.acquire(timeoutMs))
        return eTimeout;
    Completion next; // put in the place of the caller's outside of the lock: that lets an operation go
    {
        const std::lock_guard<std::mutex> lock(lock_);
        if (queue_.empty())
        {
            units_.release(1);
            return eClosed;
        }
        next = std::move(queue_.front());
        queue_.pop_front();
    }
    completion = std::move(next);
    return eCompleted;
}

void NativeIOCompletionPort::close()
{
    {
        const std::lock_guard<std::mutex> lock(lock_);
        if (std::exchange(closed_, true))
            return;
    }
    units_.release(1);
}
