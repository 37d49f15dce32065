#pragma once

#include "misc/media/Timecode.h"

#include <cstdint>
#include <optional>
#include <string_view>

// Timecode labels by SMPTE ST 12: every frame of a day has one label, counted at the whole ticks of its
// own rate, above 30 frames a second too. Drop frame skips the first 2 labels of a minute at 29.97, 4 at
// 59.94 and 8 at 119.88, but in minutes 00, 10, 20, 30, 40 and 50; no other rate has it, whatever a TCInf
// asks for. Frames count from 0 here, and a day follows the one before it. Whole numbers only. Any thread;
// nothing here keeps state.

namespace Mw
{

// Why a label names no frame.
enum class LabelFault
{
    None,
    NotALabel, // the text has another form
    NoRate,    // the rate has no labels: it is decimated, of film, 12.5 or none
    NoHour,    // 24 or above, or negative, as the next two from 60
    NoMinute,
    NoSecond,
    NoFrame, // at or above the rate, or negative
    Dropped  // skipped by drop frame
};

// A message for people, such as "the hour is not below 24"; empty for None. A static text.
MISC_API const char* labelFaultText(LabelFault fault);

// The labels of a second; 0 for a rate without labels.
MISC_API int labelsPerSecond(FrameRate rate);

// The labels that are skipped in nine of ten minutes; 0 without drop frame.
MISC_API int droppedLabelsPerMinute(TCInf tcInf);

// The frames of a day; 0 for a rate without labels.
MISC_API int framesPerDay(TCInf tcInf);

// The label of a frame of any day, negative ones included, its flag set if labels are dropped. All 0 for a
// rate without labels.
MISC_API tc_addr labelOfFrame(std::int64_t frame, TCInf tcInf);

// The frame of a label, 0 to framesPerDay - 1, or nothing for one with a fault. The flag of the label
// doesn't count.
MISC_API std::optional<int> frameOfLabel(const tc_addr& label, TCInf tcInf);

// The first fault of a label, in the order of the enumeration; None for those that name a frame.
MISC_API LabelFault checkLabel(const tc_addr& label, TCInf tcInf);

// Reads "HH:MM:SS:FF" with two digits to a field, three for frames of 100 and above; ";", "." or "," may
// stand before the frames, and ";" or "," sets the flag. Another text gives NotALabel, a label that the rate
// hasn't its own fault; `label` then holds what was read, or is all 0.
MISC_API LabelFault readLabel(std::string_view text, TCInf tcInf, tc_addr& label);

// What the buffer of writeLabel must hold, its final zero included, for any label that names a frame.
constexpr int longestLabelBytes = 13;

// Writes a label that names a frame in the form that readLabel reads, ";" before the frames if the flag is
// set. Other labels give an empty text.
MISC_API void writeLabel(const tc_addr& label, char* buffer);

} // namespace Mw
