#pragma once

#include "misc/media/FrameRate.h"
#include "misc/media/Saturated.h"

#include <cstdint>

// Timecode as the application uses it: frame counts, fields, texts, seconds, pulldown and the labels of
// edit lists. A time is a double of seconds; a frame count is 1-based, so frame 1 is 00:00:00:00. Drop
// frame here always counts 30 frames a second and leaves out two labels a minute, whatever the rate;
// labels of rates above 30 are in TimecodeLabel.h. Any thread; nothing here keeps state.

struct tc_addr
{
    std::int16_t hours = 0;
    std::int16_t minutes = 0;
    std::int16_t seconds = 0;
    std::int16_t frames = 0;
    std::int16_t dropFrame = 0;

    friend bool operator==(const tc_addr&, const tc_addr&) = default;
};

struct TCInf
{
    Mw::FrameRate rate = Mw::FRInvalid;
    bool dropFrame = false;

    friend bool operator==(const TCInf&, const TCInf&) = default;
};

// Fields. `fps` is the nominal whole rate; drop frame doesn't count by it.

// The frame's fields. Frame 0 and what lies before it counts back from the end of one day (in drop frame
// one frame short of it, as it always was); frames still further back have fields of zero and below.
// From hour 24 on the fields stay at 23:59:59 and frame fps - 1. All fields are 0 if `fps` isn't positive.
void frames_to_tc(int frame, tc_addr* tc, short fps, short dropFrame);

// The frame with these fields. The argument decides drop frame, not the field. Fields are not checked; a
// count beyond an int gives the nearest one.
int tc_to_frames(const tc_addr* tc, short fps, short dropFrame);

// True when all five fields are equal, the flag included.
MISC_API bool tcode_compare(const tc_addr& a, const tc_addr& b);

// Texts

// Leading fields that tc_to_string shows even when they are zero, with two digits.
enum tc_string_flags : int
{
    TC_SHOW_HOURS = 1,
    TC_SHOW_MINUTES = 2,
    TC_SHOW_SECONDS = 4,
    TC_SHOW_FRAMES = 8, // even if all the others are zero
    TC_SHOW_ALL = 15
};

// What the buffer of tc_to_string must hold: the longest result of any rate is that of a drop-frame time
// beyond all counting, "-19904:00:42;19", and the final zero. Times within a day take up to 14 bytes.
constexpr int longestTimecodeBytes = 16;

// Writes the time as "H:M:S.F", ";" before the frames for drop frame, "-" first for negative times. Leading
// fields that are zero are left out, unless a flag shows them; once one is shown the later ones have two
// digits, frames always two or more. If hours, minutes and seconds are zero, frames need TC_SHOW_FRAMES:
// 0.0 with no flag is an empty text. Days are left out, except in drop frame.
// FRInvalid or a rate without ticks asserts, gives an empty text and false; otherwise true.
MISC_API bool tc_to_string(double seconds, char* buffer, int flags, Mw::FrameRate tcRate, bool dropFrame);

// The seconds of a text "H:M:S:F". The argument decides drop frame, the separator before the frames may be
// any character. Numbers are read as sscanf's "%d:%d:%d%c%d" does: each may have white space and a sign
// before it, what follows the last is ignored, and one beyond 32 bits counts as the nearest that isn't.
// A leading "-" makes the whole time negative and counts without drop frame (with a line on the console if
// drop frame was asked for). Null, any other text, and a rate without frames per second give 0.0.
MISC_API double string_to_tc(const char* text, Mw::FrameRate rate, bool dropFrame);
MISC_API double string_to_tc(const char* text, const TCInf& tcInf);

// True if the frames of a text such as "01:00:00;00", white space before it aside, follow a ";" or ",".
// Texts shorter than 9 characters aren't, nor is null.
MISC_API bool isTimecodeStringDropFrame(const char* text);

// Seconds

// The seconds that stand for no time, as frame -1 does.
constexpr double noTimeSeconds = 1e99;

// The time of a frame count, through add_pulldown if `pulldown` isn't 0. A frame survives the way there
// and back. Frame -1, or a rate without frames per second, gives noTimeSeconds.
MISC_API double frames_to_tc(int frame, Mw::FrameRate rate, int pulldown, int phase);

// The frame count of a time, through remove_pulldown if `pulldown` isn't 0. noTimeSeconds, in either sign,
// and what is no number give -1. A count beyond an int gives the nearest one.
MISC_API int tc_to_frames(double seconds, Mw::FrameRate rate, int pulldown, int phase);

// Pulldown: the film frames of a cycle become more video frames, one of which is a repetition.

MISC_API bool can_add_pulldown(Mw::FrameRate rate);
MISC_API bool can_remove_pulldown(Mw::FrameRate rate);

// Video frames and film frames of a cycle: 5 and 4, or 25 and 24; -1 for a rate without pulldown.
MISC_API int pd_cycle_size(Mw::FrameRate rate);
MISC_API int pd_film_cycle(Mw::FrameRate rate);

// Film frames to video frames and back, where frame 0 stands at `phase` of its cycle. A rate without
// pulldown gives the frames unchanged; a count beyond an int gives the nearest one.
MISC_API int add_pulldown(int frames, Mw::FrameRate rate, int phase);
MISC_API int remove_pulldown(int frames, Mw::FrameRate rate, int phase);

// Labels of edit lists

// "P", "N", "ND" or "P24"; a static text.
MISC_API const char* tv_standard_to_edlstr(TCInf tcInf);

// The reverse, which knows "N24" and "ND24" too. Null or another text gives FRInvalid, no drop frame.
MISC_API TCInf edlstr_to_tv_standard(const char* text);

// Bodies of the field forms, which run for every frame that is drawn

namespace timecode_detail
{

constexpr int framesPerSecond = 30;
constexpr int framesPerFirstMinute = 1800;
constexpr int framesPerMinute = 1798;
constexpr int framesPerTenMinutes = 17982;
constexpr int framesPerHour = 107892;
constexpr int framesInShortSecond = 28;
constexpr int droppedLabels = 2;
// What callers are used to, where one less than the 2589408 frames of a day would meet the first frame.
constexpr int wrapOfFirstFrame = 2589406;

constexpr tc_addr fields(int hours, int minutes, int seconds, int frames, int dropFrame)
{
    return {static_cast<std::int16_t>(hours), static_cast<std::int16_t>(minutes), static_cast<std::int16_t>(seconds),
            static_cast<std::int16_t>(frames), static_cast<std::int16_t>(dropFrame)};
}

// Counts from 0. Hours go on beyond 23.
constexpr tc_addr dropFrameFields(int count)
{
    const int hours = count / framesPerHour;
    const int inHour = count % framesPerHour;
    const int tens = inHour / framesPerTenMinutes * 10;
    const int inTen = inHour % framesPerTenMinutes;
    const int afterFirst = inTen - framesPerFirstMinute;
    if (afterFirst < 0)
        return fields(hours, tens, inTen / framesPerSecond, inTen % framesPerSecond, 1);
    const int minutes = tens + afterFirst / framesPerMinute + 1;
    const int inMinute = afterFirst % framesPerMinute;
    const int afterShort = inMinute - framesInShortSecond;
    if (afterShort < 0)
        return fields(hours, minutes, 0, inMinute + droppedLabels, 1);
    return fields(hours, minutes, afterShort / framesPerSecond + 1, afterShort % framesPerSecond, 1);
}

// The reverse within an hour, and for whole fields. The fields of a tc_addr are small enough for an int;
// 64 bits hold the result whatever the fields are.
template <class Int>
constexpr Int dropFrameCountInHour(Int minutes, Int seconds, Int frames)
{
    const Int minuteOfTen = minutes % 10;
    const Int count = minutes / 10 * framesPerTenMinutes + frames;
    if (minuteOfTen <= 0)
        return count + (seconds > 0 ? seconds * framesPerSecond : 0);
    const Int minuteStart = (minuteOfTen - 1) * framesPerMinute + framesPerFirstMinute;
    return count + minuteStart + (seconds > 0 ? framesInShortSecond + (seconds - 1) * framesPerSecond : -droppedLabels);
}

constexpr std::int64_t dropFrameCount(std::int64_t hours, std::int64_t minutes, std::int64_t seconds,
                                      std::int64_t frames)
{
    return hours * framesPerHour + dropFrameCountInHour(minutes, seconds, frames);
}

constexpr std::int64_t wholeRateCount(std::int64_t hours, std::int64_t minutes, std::int64_t seconds,
                                      std::int64_t frames, std::int64_t fps)
{
    return ((hours * 60 + minutes) * 60 + seconds) * fps + frames;
}

// Without drop frame, for a frame of 0 and below.
MISC_API void fieldsBeforeFirstFrame(int frame, tc_addr* tc, short fps);

} // namespace timecode_detail

inline void frames_to_tc(int frame, tc_addr* tc, short fps, short dropFrame)
{
    using namespace timecode_detail;
    if (fps <= 0)
    {
        *tc = {};
        return;
    }
    if (dropFrame != 0)
    {
        *tc = dropFrameFields(frame > 0 ? frame - 1 : frame + wrapOfFirstFrame);
        if (tc->hours >= 24)
            *tc = fields(23, 59, 59, fps - 1, 1);
        return;
    }
    if (frame <= 0)
    {
        fieldsBeforeFirstFrame(frame, tc, fps);
        return;
    }
    const unsigned count = static_cast<unsigned>(frame) - 1;
    const unsigned rate = static_cast<unsigned>(fps);
    const unsigned seconds = count / rate;
    const unsigned hours = seconds / 3600;
    *tc = hours < 24 ? fields(static_cast<int>(hours), static_cast<int>(seconds / 60 % 60),
                              static_cast<int>(seconds % 60), static_cast<int>(count % rate), 0)
                     : fields(23, 59, 59, fps - 1, 0);
}

inline int tc_to_frames(const tc_addr* tc, short fps, short dropFrame)
{
    using namespace timecode_detail;
    const std::int64_t count = dropFrame != 0 ? std::int64_t{tc->hours} * framesPerHour +
                                                    dropFrameCountInHour<int>(tc->minutes, tc->seconds, tc->frames)
                                              : wholeRateCount(tc->hours, tc->minutes, tc->seconds, tc->frames, fps);
    return Mw::saturatedInt(count + 1);
}
