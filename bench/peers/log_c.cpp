// fprintf with a stamp of the clock.

#include "bench/harness/Keep.h"
#include "bench/harness/Registry.h"

#include <cstdio>
#include <ctime>

namespace
{

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        static std::FILE* const out = std::fopen("/dev/null", "w");
        registry.peer("log/line to /dev/null", "fprintf with a stamp",
                      []
                      {
                          timespec now;
                          clock_gettime(CLOCK_MONOTONIC, &now);
                          std::fprintf(out, "%ld.%03ld   : decoded frame %d of %s in %d us\n", now.tv_sec,
                                       now.tv_nsec / 1000000, bench::hidden(1234), bench::hidden("clip10"),
                                       bench::hidden(876));
                      });
    });

} // namespace
