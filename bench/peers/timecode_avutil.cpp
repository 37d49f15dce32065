// libavutil's AVTimecode, which counts frames and knows no seconds.

#include "bench/harness/Keep.h"
#include "bench/harness/Registry.h"
#include "bench/timecode.h"

extern "C"
{
#include <libavutil/timecode.h>
}

namespace
{

void addSides(bench::Registry& registry, const char* outCase, const char* inCase, AVRational rate, bool dropFrame)
{
    AVTimecode timecode;
    av_timecode_init(&timecode, rate, dropFrame ? AV_TIMECODE_FLAG_DROPFRAME : 0, 0, nullptr);
    registry.peer(outCase, "libavutil",
                  [=, cursor = bench::times::Cursor()]() mutable
                  {
                      char text[AV_TIMECODE_STR_SIZE];
                      av_timecode_make_string(&timecode, text, bench::times::frame(cursor.next()));
                      bench::keep(text);
                  });
    registry.peer(inCase, "libavutil",
                  [=, &texts = bench::times::texts(dropFrame), cursor = bench::times::Cursor()]() mutable
                  {
                      AVTimecode read;
                      av_timecode_init_from_string(&read, rate, texts[cursor.next()].data(), nullptr);
                      bench::keep(read);
                  });
}

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        addSides(registry, "timecode/tc_to_string at 25", "timecode/string_to_tc at 25", {25, 1}, false);
        addSides(registry, "timecode/tc_to_string in drop frame", "timecode/string_to_tc in drop frame", {30000, 1001},
                 true);
    });

} // namespace
