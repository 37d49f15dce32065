// Boost's string algorithms.

#include "bench/harness/Keep.h"
#include "bench/harness/Registry.h"
#include "bench/strings.h"

#include <boost/algorithm/string/replace.hpp>

namespace
{

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        registry.peer("strings/substitute over 4 KB", "boost::replace_all",
                      []
                      {
                          std::string text = boost::replace_all_copy(bench::texts::fourKilobytes(),
                                                                     bench::texts::replaced, bench::texts::replacement);
                          bench::keep(text);
                      });
    });

} // namespace
