#include "examples/editsession/EditList.h"

#include "misc/media/TimecodeLabel.h"

#include <algorithm>

std::int64_t recordLength(const Event& event, std::size_t editCount, Mw::FrameRate rate)
{
    std::int64_t first = 0;
    std::int64_t last = 0;
    for (std::size_t i = 0; i < std::min(editCount, event.edits.size()); ++i)
    {
        const TapeSpan& record = event.edits[i].record;
        const int day = Mw::framesPerDay({rate, record.dropFrame});
        // Counted from the in of the first edit, the shorter way round midnight.
        std::int64_t in = record.in - event.edits[0].record.in;
        if (in > day / 2)
            in -= day;
        else if (in < -day / 2)
            in += day;
        first = std::min(first, in);
        last = std::max(last, in + record.length);
    }
    return last - first;
}
