#pragma once

#include "libmw/CriticalSection.h"
#include "misc/threads/iBackgroundTaskQueue.h"

#include <vector>

// Knows all background queues, which enter and leave it by themselves and stay their makers' own. Any thread; a
// pointer that was handed out is good for as long as the maker of the queue lets it live.
class MISC_API BackgroundTaskQueueManager
{
public:
    // Made on first use; its storage stays to the end of the process.
    static BackgroundTaskQueueManager& instance();

    BackgroundTaskQueueManager() = default;
    BackgroundTaskQueueManager(const BackgroundTaskQueueManager&) = delete;
    BackgroundTaskQueueManager& operator=(const BackgroundTaskQueueManager&) = delete;

    void manage(iBackgroundTaskQueue* queue);
    void unmanage(iBackgroundTaskQueue* queue);

    // The queues that have all of the given bits among their caps, in the order in which they were made.
    std::vector<iBackgroundTaskQueue*> getQueues(unsigned caps) const;

    // Whether all of those are empty.
    bool empty(unsigned caps) const;

private:
    mutable CriticalSection lock_{"background task queues"}; // held while queues are asked whether they are empty
    std::vector<iBackgroundTaskQueue*> queues_;
};
