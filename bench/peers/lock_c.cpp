// The recursive mutex of the C library.

#include "bench/harness/Keep.h"
#include "bench/harness/Registry.h"

#include <pthread.h>

namespace
{

pthread_mutex_t recursiveMutex = PTHREAD_RECURSIVE_MUTEX_INITIALIZER_NP;

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        const auto pair = []
        {
            pthread_mutex_lock(&recursiveMutex);
            bench::keep(recursiveMutex);
            pthread_mutex_unlock(&recursiveMutex);
        };
        registry.peer("lock/enter and leave", "pthread", pair);
        registry.add("lock/enter and leave, nested", {bench::Role::peer, "pthread",
                                                      [pair](std::size_t count)
                                                      {
                                                          pthread_mutex_lock(&recursiveMutex);
                                                          for (; count != 0; --count)
                                                              pair();
                                                          pthread_mutex_unlock(&recursiveMutex);
                                                      }});
    });

} // namespace
