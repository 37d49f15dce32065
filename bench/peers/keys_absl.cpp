// Hash maps without nodes of their own, from key codes to names and from names to functions.

#include "bench/harness/Keep.h"
#include "bench/harness/Registry.h"
#include "bench/keys_maps.h"

#include <absl/container/flat_hash_map.h>

namespace
{

using namespace bench::keys;

void addPress(bench::Registry& registry, const char* caseName, const std::vector<int>& codes)
{
    registry.peer(caseName, "absl::flat_hash_map twice",
                  [presses = Presses(codes)]() mutable
                  {
                      static const Maps<absl::flat_hash_map> maps;
                      bench::keepNumber(maps.tryKey(presses.next()));
                  });
}

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        addPress(registry, boundCase, boundKeys());
        addPress(registry, freeCase, freeKeys());
    });

} // namespace
