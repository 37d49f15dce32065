// GThreadPool.

#include "bench/queue.h"

#include <glib.h>

namespace
{

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        static GThreadPool* const pool =
            g_thread_pool_new([](void* calls, void*) { static_cast<bench::queue::OneThreadCalls*>(calls)->one(); },
                              nullptr, 1, TRUE, nullptr);
        bench::queue::addHandOff(registry, bench::Role::peer, "GThreadPool",
                                 [](bench::queue::OneThreadCalls& calls)
                                 { g_thread_pool_push(pool, &calls, nullptr); });
    });

} // namespace
