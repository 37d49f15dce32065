#pragma once

#include "misc/threads/BackgroundTaskQueue.h"

// The queue for what a user starts and then works on: two threads, a little more urgent than others. Any thread.
class MISC_API UIBackgroundTasksQueue : public BackgroundTaskQueueBase
{
public:
    // Made on first use. It is shut down with Shutdown, or else at the end of the process; its storage stays.
    static UIBackgroundTasksQueue& instance();

    // Shuts the queue down for good, once.
    static void shutdown(Shutdown::eExitType type);

    UIBackgroundTasksQueue() = default;

    unsigned getCaps() const override { return 1; }
    int getNumThreads() const override { return 2; }
    int getThreadPriority() const override { return 1; }
};
