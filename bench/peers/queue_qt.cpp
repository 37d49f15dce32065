// QThreadPool, and calls that Qt queues for an object of another thread.

#include "bench/queue.h"

#include <QCoreApplication>
#include <QObject>
#include <QThread>
#include <QThreadPool>

namespace
{

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        // Threads have no event loop without an application.
        static int argc = 0;
        static auto& application = *new QCoreApplication(argc, nullptr);
        static auto& pool = *new QThreadPool;
        pool.setMaxThreadCount(1);
        pool.setExpiryTimeout(-1);
        static auto& thread = *new QThread;
        static auto& target = *new QObject;
        target.moveToThread(&thread);
        thread.start();
        bench::keep(application);
        bench::queue::addHandOff(registry, bench::Role::peer, "QThreadPool",
                                 [](bench::queue::OneThreadCalls& calls) { pool.start([&calls] { calls.one(); }); });
        bench::queue::addHandOff(registry, bench::Role::peer, "Qt queued call",
                                 [](bench::queue::OneThreadCalls& calls)
                                 {
                                     QMetaObject::invokeMethod(
                                         &target, [&calls] { calls.one(); }, Qt::QueuedConnection);
                                 });
    });

} // namespace
