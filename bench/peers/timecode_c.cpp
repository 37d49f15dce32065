// snprintf and sscanf with the formulas around them, which stand in a file of plain C.

#include "bench/harness/Keep.h"
#include "bench/harness/Registry.h"
#include "bench/limits/limits.h"
#include "bench/timecode.h"

namespace
{

void addSides(bench::Registry& registry, const char* outCase, const char* inCase, double fps, int ticks, bool dropFrame)
{
    registry.peer(outCase, "snprintf",
                  [=, cursor = bench::times::Cursor()]() mutable
                  {
                      char text[plainTextBytes];
                      plain_tc_to_string(bench::times::seconds(cursor.next(), fps), text, fps, ticks, dropFrame);
                      bench::keep(text);
                  });
    registry.peer(inCase, "sscanf",
                  [=, &texts = bench::times::texts(dropFrame), cursor = bench::times::Cursor()]() mutable
                  {
                      double seconds = plain_string_to_tc(texts[cursor.next()].data(), fps, ticks, dropFrame);
                      bench::keep(seconds);
                  });
}

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        addSides(registry, "timecode/tc_to_string at 25", "timecode/string_to_tc at 25", 25, 25, false);
        addSides(registry, "timecode/tc_to_string in drop frame", "timecode/string_to_tc in drop frame",
                 bench::times::ntscFps, 30, true);
    });

} // namespace
