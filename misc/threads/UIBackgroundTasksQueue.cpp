#include "misc/threads/UIBackgroundTasksQueue.h"

#include "OS/Immortal.h"

#include <atomic>

namespace
{

std::atomic<bool> isDestroyed{false};

// Stops the threads of programs that end without Shutdown.
struct ShutdownAtExit
{
    ~ShutdownAtExit() { UIBackgroundTasksQueue::shutdown(Shutdown::eNormalExit); }
};

} // namespace

UIBackgroundTasksQueue& UIBackgroundTasksQueue::instance()
{
    auto& queue = immortal<UIBackgroundTasksQueue>();
    static const ShutdownAtExit atExit;
    return queue;
}

void UIBackgroundTasksQueue::shutdown(Shutdown::eExitType type)
{
    if (isDestroyed.exchange(true))
        return;
    auto& queue = immortal<UIBackgroundTasksQueue>();
    queue.close();
    queue.BackgroundTaskQueueBase::shutdown(type);
}
