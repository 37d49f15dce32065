// QThreadPool.

#include "bench/tasks.h"

#include <QRunnable>
#include <QThreadPool>

namespace
{

class Runnable : public QRunnable
{
public:
    Runnable() { setAutoDelete(false); }
    void run() override { bench::tasks::calls->one(); }
};

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        static auto& pool = *new QThreadPool;
        pool.setMaxThreadCount(2);
        pool.setExpiryTimeout(-1);
        static Runnable runnable;
        bench::tasks::add(registry, bench::Role::peer, "QThreadPool", [] { pool.start(&runnable); });
    });

} // namespace
