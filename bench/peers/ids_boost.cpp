// Boost's UUIDs from a Mersenne twister, seeded once.

#include "bench/harness/Keep.h"
#include "bench/harness/Registry.h"
#include "bench/ids.h"

#include <boost/uuid/random_generator.hpp>

namespace
{

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        static boost::uuids::random_generator_mt19937 generator;
        for (const char* const name : bench::idCases)
            registry.peer(name, "boost mt19937",
                          []
                          {
                              boost::uuids::uuid made = generator();
                              bench::keep(made);
                          });
    });

} // namespace
