#include "bench/peers/mimalloc.h"
#include "bench/pool.h"

namespace
{

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        if (const auto* const mimalloc = bench::Mimalloc::open(registry); mimalloc != nullptr)
            bench::pool::add(
                registry, bench::Role::peer, "mimalloc",
                [mimalloc] { return mimalloc->allocate(bench::pool::objectBytes); },
                [mimalloc](void* object) { mimalloc->release(object); });
    });

} // namespace
