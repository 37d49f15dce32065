#pragma once

#include "misc/media/Timecode.h"

// Walks the labels of a day in order, up to 24 hours and whole seconds of `fps`. Calls visit(label, exists),
// where the first `dropped` labels of nine in ten minutes don't.
template <class Visit>
void forEachLabelOfADay(int fps, int dropped, Visit visit)
{
    for (int second = 0; second != 86400; ++second)
    {
        const bool minuteDrops = second / 60 % 10 != 0 && second % 60 == 0;
        for (int frame = 0; frame != fps; ++frame)
            visit(timecode_detail::fields(second / 3600, second / 60 % 60, second % 60, frame, dropped > 0 ? 1 : 0),
                  !minuteDrops || frame >= dropped);
    }
}
