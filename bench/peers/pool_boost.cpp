// boost::lockfree::stack as a pool's list of dead objects, and Boost.Pool.

#include "bench/pool.h"

#include <boost/lockfree/stack.hpp>
#include <boost/pool/pool_alloc.hpp>

#include <cstdlib>

namespace
{

struct Object
{
    char contents[bench::pool::objectBytes];
};

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        static auto& dead = *new boost::lockfree::stack<void*>(0);
        bench::pool::add(
            registry, bench::Role::peer, "boost::lockfree::stack",
            []
            {
                void* object = nullptr;
                return dead.pop(object) ? object : std::malloc(bench::pool::objectBytes);
            },
            [](void* object) { dead.push(object); });
        using Pool = boost::fast_pool_allocator<Object>;
        bench::pool::add(
            registry, bench::Role::peer, "boost::fast_pool_allocator",
            [] { return static_cast<void*>(Pool::allocate()); },
            [](void* object) { Pool::deallocate(static_cast<Object*>(object)); });
    });

} // namespace
