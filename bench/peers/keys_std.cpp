// A std::map from key codes to names and one from names to functions.

#include "bench/harness/Keep.h"
#include "bench/harness/Registry.h"
#include "bench/keys_maps.h"

#include <map>

namespace
{

using namespace bench::keys;

void addPress(bench::Registry& registry, const char* caseName, const char* name)
{
    registry.peer(caseName, name,
                  [presses = Presses(boundKeys())]() mutable
                  {
                      static const Maps<std::map> maps;
                      bench::keepNumber(maps.tryKey(presses.next()));
                  });
}

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        addPress(registry, boundCase, "std::map twice");
        addPress(registry, freeCase, "std::map twice, bound");
    });

} // namespace
