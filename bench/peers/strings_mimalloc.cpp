#include "bench/harness/Keep.h"
#include "bench/peers/mimalloc.h"

namespace
{

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        if (const auto* const mimalloc = bench::Mimalloc::open(registry); mimalloc != nullptr)
            registry.peer("strings/memory of 40 characters", "mimalloc",
                          [mimalloc]
                          {
                              void* block = mimalloc->allocate(bench::hidden(std::size_t{88}));
                              bench::keep(block);
                              mimalloc->release(block);
                          });
    });

} // namespace
