#pragma once

#include "misc/media/FrameRate.h"

#include <cstdint>
#include <utility>

// Film footage: gauges, perforations, feet and frames. Whole numbers throughout, computed in 64 bits; a
// result beyond an int is the nearest one. Any thread, frames_to_feet excepted.

enum film_gauge : std::int32_t
{
    FILM_16MM,
    FILM_35MM,
    FILM_16MM_INK,
    FILM_35MM_3PERF,
    FILM_INVALID
};

// The foot of a gauge that has none.
constexpr int noFoot = -100000000;

// 16 and 35 give the gauges of that width, anything else FILM_INVALID.
MISC_API film_gauge int_to_film_gauge(int widthMm);

// Static texts, "INVALID" for what is no gauge: "35mm 3-perf" for people, "F353" in edit lists.
MISC_API const char* film_gauge_to_str(film_gauge gauge);
MISC_API const char* film_gauge_to_edlstr(film_gauge gauge);

// The gauge with that edit-list text, in any case. Null or another text gives FILM_INVALID.
MISC_API film_gauge edlstr_to_film_gauge(const char* text);

// By the perforations of a frame, which are -1 for what is no gauge.
MISC_API int frames_to_perfs(int frames, film_gauge gauge);
MISC_API int perfs_to_frames(int perfs, film_gauge gauge);

// Foot and frame within the foot; noFoot and 0 for what is no gauge.
MISC_API std::pair<int, int> frames_to_foot_num(int frame, film_gauge gauge);

// Sign ("-" or a blank), feet and frames: "-0000.03" with `zeroPad`, "-   0.03" without, "INVALID" for what
// is no gauge. The text is in one static buffer and stands until the next call: one thread at a time.
MISC_API const char* frames_to_feet(int frame, film_gauge gauge, int zeroPad);

// The frames of a text "F.f": the first digits are feet, and frames if digits follow one character after
// them. Negative if the text begins with "-"; 0 if it has no digits or is null. Always -1 for what is no
// gauge.
MISC_API int feet_to_frames(const char* text, film_gauge gauge);

// Nothing is known here of how film and video standards go together: always FRInvalid, always FILM_INVALID.
MISC_API Mw::FrameRate film_gauge_to_tv_standard(film_gauge gauge);
MISC_API film_gauge tv_standard_to_film_gauge(Mw::FrameRate rate);
