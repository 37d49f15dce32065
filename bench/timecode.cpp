// Area timecode: fields, texts and seconds.
//
// Workload: for the fields every frame of a day in turn, at 25 and, for drop frame, at 29.97 frames a
// second; for the texts 1,024 times spread over a day. Rates and flags are unknown to the optimiser.

#include "misc/media/Timecode.h"

#include "bench/harness/Keep.h"
#include "bench/harness/Registry.h"
#include "bench/limits/limits.h"
#include "bench/timecode.h"

namespace
{

void declare(bench::Registry& registry)
{
    registry.declare({"timecode/fields and back at 25",
                      "Splits each frame of a day into fields and counts the fields back.",
                      {{1.05, bench::theLimit}}});
    registry.declare({"timecode/fields and back in drop frame",
                      "Splits each frame of a drop-frame day into fields and counts the fields back.",
                      {{1.05, bench::theLimit}}});
    registry.declare({"timecode/tc_to_string at 25", "Writes a time as text.", {{0.3, bench::bestPeer}}});
    registry.declare({"timecode/tc_to_string in drop frame", "Writes a time as text.", {{0.3, bench::bestPeer}}});
    registry.declare({"timecode/string_to_tc at 25", "Reads a time from its text.", {{0.3, bench::bestPeer}}});
    registry.declare({"timecode/string_to_tc in drop frame", "Reads a time from its text.", {{0.3, bench::bestPeer}}});
}

long fieldsAndBack(short fps, short dropFrame, std::size_t operations)
{
    const int day = dropFrame != 0 ? 2589408 : fps * 86400;
    long sum = 0;
    int frame = 1;
    for (; operations != 0; --operations)
    {
        tc_addr tc;
        frames_to_tc(frame, &tc, fps, dropFrame);
        bench::keep(tc);
        sum += tc_to_frames(&tc, fps, dropFrame);
        frame = frame < day ? frame + 1 : 1;
    }
    return sum;
}

void addFields(bench::Registry& registry, const char* caseName, short fps, short dropFrame)
{
    registry.add(caseName,
                 {bench::Role::ours, "ours", [=](std::size_t operations) {
                      bench::keepNumber(fieldsAndBack(bench::hidden(fps), bench::hidden(dropFrame), operations));
                  }});
    registry.add(caseName,
                 {bench::Role::limit, "plain C", [=](std::size_t operations) {
                      bench::keepNumber(limit_fields(bench::hidden(fps), bench::hidden(dropFrame), operations));
                  }});
}

void addTexts(bench::Registry& registry, const char* outCase, const char* inCase, Mw::FrameRate rate, bool dropFrame)
{
    registry.ours(outCase,
                  [=, cursor = bench::times::Cursor()]() mutable
                  {
                      char text[longestTimecodeBytes];
                      const double fps = dropFrame ? bench::times::ntscFps : 25;
                      tc_to_string(bench::times::seconds(cursor.next(), fps), text, TC_SHOW_ALL, bench::hidden(rate),
                                   bench::hidden(dropFrame));
                      bench::keep(text);
                  });
    registry.ours(inCase,
                  [=, &texts = bench::times::texts(dropFrame), cursor = bench::times::Cursor()]() mutable
                  {
                      double seconds =
                          string_to_tc(texts[cursor.next()].data(), bench::hidden(rate), bench::hidden(dropFrame));
                      bench::keep(seconds);
                  });
}

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        declare(registry);
        addFields(registry, "timecode/fields and back at 25", 25, 0);
        addFields(registry, "timecode/fields and back in drop frame", 30, 1);
        addTexts(registry, "timecode/tc_to_string at 25", "timecode/string_to_tc at 25", Mw::FR25, false);
        addTexts(registry, "timecode/tc_to_string in drop frame", "timecode/string_to_tc in drop frame", Mw::FR30M,
                 true);
    });

} // namespace

const bench::times::Texts& bench::times::texts(bool dropFrame)
{
    static const auto make = [](double fps, int ticks, int drop)
    {
        Texts texts{};
        for (std::size_t n = 0; n < count; ++n)
        {
            plain_tc_to_string(seconds(n, fps), texts[n].data(), fps, ticks, drop);
            // libavutil takes anything but a colon for drop frame.
            if (drop == 0)
                texts[n][8] = ':';
        }
        return texts;
    };
    static const Texts plain = make(25, 25, 0);
    static const Texts dropped = make(ntscFps, 30, 1);
    return dropFrame ? dropped : plain;
}
