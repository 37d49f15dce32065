// Area tasks: background tasks.
//
// Workload: a task of a few instructions on a queue with two threads, the same task again and again. Idle, the time
// is from the queueing to the call, and from there back to the thread that waits for it: two wake-ups, of which the
// second is the same on all sides. At full rate it is that of a task among many, most of which wait.

#include "bench/tasks.h"

#include "misc/threads/BackgroundTaskBase.h"
#include "misc/threads/UIBackgroundTasksQueue.h"

namespace
{

class Task : public BackgroundTaskBase
{
public:
    LightweightString<char> getName() const override { return "bench"; }
    LightweightString<char> getDescription() const override { return {}; }
    void run() override { bench::tasks::calls->one(); }
};

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        for (const char* idle : bench::tasks::idle)
            registry.declare({idle,
                              "Queues a task where the threads sleep, and sleeps until it was run.",
                              {{1.2, "QThreadPool"}},
                              1,
                              bench::Clock::wall});
        registry.declare({bench::tasks::fullRate, "Queues a task behind others.", {}, 1, bench::Clock::wall});
        bench::tasks::add(registry, bench::Role::ours, "ours",
                          []
                          {
                              static const auto task = Mw::makePtr<Task>();
                              UIBackgroundTasksQueue::instance().queue(task, false);
                          });
    });

} // namespace
