// boost::uuid.

#include "bench/cookie.h"
#include "bench/harness/Keep.h"
#include "bench/harness/Registry.h"

#include <boost/uuid/string_generator.hpp>
#include <boost/uuid/uuid.hpp>
#include <boost/uuid/uuid_io.hpp>

namespace
{

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        static boost::uuids::uuid uuid = boost::uuids::string_generator()(bench::uuidText);
        static std::string stored(bench::uuidText);
        for (const char* caseName : bench::textOutCases)
            registry.peer(caseName, "boost::uuid",
                          []
                          {
                              bench::keep(uuid);
                              std::string text = boost::uuids::to_string(uuid);
                              bench::keep(text);
                          });
        for (const char* caseName : bench::textInCases)
            registry.peer(caseName, "boost::uuid",
                          []
                          {
                              bench::keep(stored);
                              boost::uuids::uuid read = boost::uuids::string_generator()(stored);
                              bench::keep(read);
                          });
    });

} // namespace
