// simdjson's document tree, which is read-only and wants its text padded.

#include "bench/json.h"
#include "bench/harness/Keep.h"
#include "bench/harness/Registry.h"

#include <memory>
#include <simdjson.h>

namespace
{

using namespace bench::json;

auto parsing(const std::string& text)
{
    return [padded = std::make_shared<simdjson::padded_string>(text)]
    {
        simdjson::dom::parser parser;
        simdjson::dom::element tree = parser.parse(*padded);
        bench::keep(tree);
    };
}

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        registry.peer("json/parse a project of 1 MB", "simdjson", parsing(project()));
        registry.peer("json/parse 100,000 numbers", "simdjson", parsing(numbers()));
        registry.peer("json/parse 50,000 texts with escapes", "simdjson", parsing(escapedTexts()));
    });

} // namespace
