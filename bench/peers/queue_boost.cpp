// boost::asio.

#include "bench/queue.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/thread_pool.hpp>

namespace
{

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        static long runs = 0;
        static auto& context = *new boost::asio::io_context;
        static auto& pool = *new boost::asio::thread_pool(1);
        for (const char* caseName : bench::queue::inOrder)
            bench::queue::addInPlace(
                registry, caseName, bench::Role::peer, "boost::asio::io_context",
                [](unsigned) { boost::asio::post(context, [] { bench::queue::count(runs); }); },
                []
                {
                    context.restart();
                    context.poll();
                });
        bench::queue::addHandOff(registry, bench::Role::peer, "boost::asio::thread_pool",
                                 [](bench::queue::OneThreadCalls& calls)
                                 { boost::asio::post(pool, [&calls] { calls.one(); }); });
    });

} // namespace
