#include "misc/threads/BackgroundTaskQueueManager.h"

#include "OS/Immortal.h"

#include <algorithm>
#include <iterator>

BackgroundTaskQueueManager& BackgroundTaskQueueManager::instance()
{
    return immortal<BackgroundTaskQueueManager>();
}

void BackgroundTaskQueueManager::manage(iBackgroundTaskQueue* queue)
{
    const CriticalSection::Lock lock(lock_);
    queues_.push_back(queue);
}

void BackgroundTaskQueueManager::unmanage(iBackgroundTaskQueue* queue)
{
    const CriticalSection::Lock lock(lock_);
    std::erase(queues_, queue);
}

std::vector<iBackgroundTaskQueue*> BackgroundTaskQueueManager::getQueues(unsigned caps) const
{
    const CriticalSection::Lock lock(lock_);
    std::vector<iBackgroundTaskQueue*> queues;
    std::ranges::copy_if(queues_, std::back_inserter(queues),
                         [caps](const iBackgroundTaskQueue* queue) { return (queue->getCaps() & caps) == caps; });
    return queues;
}

bool BackgroundTaskQueueManager::empty(unsigned caps) const
{
    const CriticalSection::Lock lock(lock_);
    return std::ranges::all_of(getQueues(caps), [](const iBackgroundTaskQueue* queue) { return queue->empty(); });
}
