// libuuid, and the kernel asked once for each identity.

#include "bench/harness/Keep.h"
#include "bench/harness/Registry.h"
#include "bench/ids.h"

#include <sys/random.h>
#include <uuid/uuid.h>

namespace
{

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        for (const char* const name : bench::idCases)
        {
            registry.peer(name, "libuuid",
                          []
                          {
                              uuid_t uuid;
                              uuid_generate_random(uuid);
                              bench::keep(uuid);
                          });
            registry.peer(name, "getrandom",
                          []
                          {
                              unsigned char bytes[16];
                              bench::keepNumber(::getrandom(bytes, sizeof bytes, 0));
                              bench::keep(bytes);
                          });
        }
    });

} // namespace
