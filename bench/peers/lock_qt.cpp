// QRecursiveMutex.

#include "bench/harness/Keep.h"
#include "bench/harness/Registry.h"

#include <QRecursiveMutex>

namespace
{

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        static QRecursiveMutex mutex;
        const auto pair = []
        {
            mutex.lock();
            bench::keep(mutex);
            mutex.unlock();
        };
        registry.peer("lock/enter and leave", "QRecursiveMutex", pair);
        registry.add("lock/enter and leave, nested", {bench::Role::peer, "QRecursiveMutex",
                                                      [pair](std::size_t count)
                                                      {
                                                          mutex.lock();
                                                          for (; count != 0; --count)
                                                              pair();
                                                          mutex.unlock();
                                                      }});
    });

} // namespace
