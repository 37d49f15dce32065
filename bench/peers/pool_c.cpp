// malloc.

#include "bench/pool.h"

#include <cstdlib>

namespace
{

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        bench::pool::add(
            registry, bench::Role::peer, "malloc", [] { return std::malloc(bench::hidden(bench::pool::objectBytes)); },
            [](void* object) { std::free(object); });
    });

} // namespace
