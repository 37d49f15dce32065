// Area pool: memory of objects that are made and dropped at a high rate, such as commands and the nodes of
// queues.
//
// Workload: objects of 48 bytes without a constructor of note. A peer that is no allocator keeps dead objects
// of malloc. With two threads, each makes 64 objects at a time and destroys 64, mostly those of the other.

#include "bench/pool.h"

#include "Mw/MwPooledObject.h"
#include "bench/limits/limits.h"

namespace
{

struct Pooled : Mw::PooledObject<Pooled>
{
    char contents[bench::pool::objectBytes];
};

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        const std::string stack = "boost::lockfree::stack";
        registry.declare(
            {bench::pool::alone, "Makes a pooled object and destroys it.", {{1.1, bench::theLimit}, {1.0, stack}}});
        registry.declare(
            {bench::pool::batch, "Makes 64 pooled objects and destroys them, for each of them.", {{1.0, stack}}});
        registry.declare({bench::pool::handedOver,
                          "The same on two threads at once, which hand their objects to each other.",
                          {{0.7, stack}},
                          2});
        registry.add(bench::pool::alone, {bench::Role::limit, "two exchanges and two additions", limit_exchange_pairs});
        bench::pool::add(
            registry, bench::Role::ours, "ours", [] { return static_cast<void*>(new Pooled); },
            [](void* object) { delete static_cast<Pooled*>(object); });
    });

} // namespace
