// libuuid.

#include "bench/cookie.h"
#include "bench/harness/Keep.h"
#include "bench/harness/Registry.h"

#include <uuid/uuid.h>

namespace
{

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        static uuid_t uuid;
        uuid_parse(bench::uuidText, uuid);
        registry.peer("cookie/UUID asString", "libuuid",
                      []
                      {
                          char text[UUID_STR_LEN];
                          bench::keep(uuid);
                          uuid_unparse_lower(uuid, text);
                          bench::keep(text);
                      });
    });

} // namespace
