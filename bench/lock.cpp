// Area lock: what entering and leaving a recursive lock costs that nobody else wants.
//
// Workload: one lock, entered and left by one thread while a second one of the program sleeps. Nested: the
// same while the thread is inside already.

#include "bench/harness/Keep.h"
#include "bench/harness/Registry.h"
#include "libmw/CriticalSection.h"

namespace
{

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        registry.declare({"lock/enter and leave", "Enters a free lock and leaves it.", {{1.0, bench::bestPeer}}});
        registry.declare({"lock/enter and leave, nested",
                          "The same in a thread that has entered the lock before.",
                          {{1.0, bench::bestPeer}}});

        static CriticalSection section("bench");
        const auto pair = []
        {
            section.enter();
            bench::keep(section);
            section.leave();
        };
        registry.ours("lock/enter and leave", pair);
        registry.add("lock/enter and leave, nested", {bench::Role::ours, "ours",
                                                      [pair](std::size_t count)
                                                      {
                                                          const CriticalSection::Lock outer(section);
                                                          for (; count != 0; --count)
                                                              pair();
                                                      }});
    });

} // namespace
