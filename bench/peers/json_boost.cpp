// boost.json with its usual memory. Its package is another than that of the headers that the other peers use.

#include "bench/harness/Keep.h"
#include "bench/harness/Registry.h"
#include "bench/json.h"

#if __has_include(<boost/json/src.hpp>)
#include <boost/json/src.hpp>

namespace
{

using namespace bench::json;

auto parsing(const std::string& text)
{
    return [&text]
    {
        boost::json::value tree = boost::json::parse(text);
        bench::keep(tree);
    };
}

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        registry.peer("json/parse a project of 1 MB", "boost.json", parsing(project()));
        registry.peer("json/parse 100,000 numbers", "boost.json", parsing(numbers()));
        registry.peer("json/parse 50,000 texts with escapes", "boost.json", parsing(escapedTexts()));
    });

} // namespace

#else

namespace
{

const bench::Registration registration([](bench::Registry& registry) { registry.missing("libboost-json1.81-dev"); });

} // namespace

#endif
