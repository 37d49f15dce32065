#include "misc/media/Timecode.h"

#include "Mw/Assert.h"
#include "misc/diagnostics/Console.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <utility>

using Mw::FrameRate;

namespace
{

using Mw::saturatedInt;

// White space and digits of the C locale, whatever the host has set.
constexpr bool isSpace(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

constexpr bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

// Reads a text the way that sscanf follows its format.
class TextScanner
{
public:
    explicit TextScanner(const char* text) : at_(text) {}

    bool literal(char c)
    {
        if (*at_ != c)
            return false;
        ++at_;
        return true;
    }

    bool anyCharacter()
    {
        if (*at_ == 0)
            return false;
        ++at_;
        return true;
    }

    bool number(std::int64_t& value)
    {
        while (isSpace(*at_))
            ++at_;
        const bool negative = *at_ == '-';
        if (negative || *at_ == '+')
            ++at_;
        if (!isDigit(*at_))
            return false;
        // Stays far from the end of 64 bits, however many digits follow.
        constexpr std::int64_t enough = std::int64_t{1} << 32;
        std::int64_t digits = 0;
        for (; isDigit(*at_); ++at_)
            digits = std::min(digits * 10 + (*at_ - '0'), enough);
        value = saturatedInt(negative ? -digits : digits);
        return true;
    }

private:
    const char* at_;
};

struct ScannedTimecode
{
    bool negative = false;
    std::int64_t hours = 0;
    std::int64_t minutes = 0;
    std::int64_t seconds = 0;
    std::int64_t frames = 0;
};

// A text that begins with "-" needs only the negative form: what that refuses, "%d" refuses too.
bool scan(const char* text, ScannedTimecode& timecode)
{
    TextScanner scanner(text);
    timecode.negative = scanner.literal('-');
    return scanner.number(timecode.hours) && scanner.literal(':') && scanner.number(timecode.minutes) &&
           scanner.literal(':') && scanner.number(timecode.seconds) && scanner.anyCharacter() &&
           scanner.number(timecode.frames);
}

// The floor, kept where a 64-bit count can take it; what is no number counts as 0.
std::int64_t wholeFrames(double frames)
{
    constexpr double limit = 1e18;
    if (std::isnan(frames))
        return 0;
    const double kept = std::clamp(frames, -limit, limit);
    const auto truncated = static_cast<std::int64_t>(kept);
    return static_cast<double>(truncated) > kept ? truncated - 1 : truncated;
}

tc_addr wholeRateFields(std::int64_t frames, int ticks)
{
    const int ticksPerDay = ticks * 86400;
    const int count = static_cast<int>(frames > ticksPerDay ? frames % ticksPerDay : frames);
    const int seconds = count / ticks;
    return timecode_detail::fields(seconds / 3600, seconds / 60 % 60, seconds % 60, count % ticks, 0);
}

char* writeTwoDigits(char* out, int value)
{
    const unsigned digits = static_cast<unsigned>(value);
    out[0] = static_cast<char>('0' + digits / 10);
    out[1] = static_cast<char>('0' + digits % 10);
    return out + 2;
}

char* writeLongNumber(char* out, int value)
{
    return std::to_chars(out, out + std::numeric_limits<int>::digits10 + 1, value).ptr;
}

// At least two digits with `padded`.
[[gnu::always_inline]] inline char* writeNumber(char* out, int value, bool padded)
{
    if (value >= 100) [[unlikely]]
        return writeLongNumber(out, value);
    if (value >= 10 || padded)
        return writeTwoDigits(out, value);
    *out = static_cast<char>('0' + value);
    return out + 1;
}

void writeFields(char* out, const tc_addr& tc, int flags)
{
    bool shown = (flags & TC_SHOW_HOURS) != 0;
    if (shown || tc.hours != 0)
    {
        out = writeNumber(out, tc.hours, shown);
        *out++ = ':';
        shown = true;
    }
    shown = shown || (flags & TC_SHOW_MINUTES) != 0;
    if (shown || tc.minutes != 0)
    {
        out = writeNumber(out, tc.minutes, shown);
        *out++ = ':';
        shown = true;
    }
    shown = shown || (flags & TC_SHOW_SECONDS) != 0;
    if (shown || tc.seconds != 0)
        out = writeNumber(out, tc.seconds, shown);
    if ((tc.hours | tc.minutes | tc.seconds) != 0 || (flags & TC_SHOW_FRAMES) != 0)
    {
        *out++ = tc.dropFrame != 0 ? ';' : '.';
        out = writeNumber(out, tc.frames, true);
    }
    *out = 0;
}

struct PulldownCycle
{
    int video;
    int film;
};

// Of a rate without pulldown, both are -1.
PulldownCycle pulldownCycle(FrameRate rate)
{
    switch (rate)
    {
    case Mw::FR25:
    case Mw::FR50:
        return {25, 24};
    case Mw::FR30:
    case Mw::FR30M:
    case Mw::FR60:
    case Mw::FR60M:
        return {5, 4};
    default:
        return {-1, -1};
    }
}

int phaseWithin(int phase, int cycle)
{
    const int remainder = phase % cycle;
    return remainder < 0 ? remainder + cycle : remainder;
}

std::int64_t withPulldown(std::int64_t frames, FrameRate rate, int phase)
{
    if (!can_add_pulldown(rate))
        return frames;
    const PulldownCycle cycle = pulldownCycle(rate);
    phase = phaseWithin(phase, cycle.film);
    const std::int64_t n = frames + phase;
    return n / cycle.film * cycle.video + n % cycle.film - phase;
}

std::int64_t withoutPulldown(std::int64_t frames, FrameRate rate, int phase)
{
    if (!can_remove_pulldown(rate))
        return frames;
    const PulldownCycle cycle = pulldownCycle(rate);
    phase = phaseWithin(phase, cycle.video);
    const std::int64_t n = frames + phase;
    const std::int64_t inCycle = n % cycle.video;
    return n / cycle.video * cycle.film + inCycle - (inCycle == cycle.film ? 1 : 0) - phase;
}

} // namespace

void timecode_detail::fieldsBeforeFirstFrame(int frame, tc_addr* tc, short fps)
{
    const std::int64_t count = std::int64_t{frame} - 1 + std::int64_t{fps} * 86400;
    const std::int64_t seconds = count / fps;
    // At one frame per second an int reaches back further than the field.
    constexpr std::int64_t lowestHours = std::numeric_limits<std::int16_t>::min();
    *tc = fields(static_cast<int>(std::max(seconds / 3600, lowestHours)), static_cast<int>(seconds / 60 % 60),
                 static_cast<int>(seconds % 60), static_cast<int>(count % fps), 0);
}

bool tcode_compare(const tc_addr& a, const tc_addr& b)
{
    return a == b;
}

bool tc_to_string(double seconds, char* buffer, int flags, FrameRate tcRate, bool dropFrame)
{
    *buffer = 0;
    MW_ASSERT_AT(tcRate != Mw::FRInvalid, "misc/tccvt line 23");
    if (tcRate == Mw::FRInvalid)
        return false;
    const int ticks = Mw::getTicksPerSecond(tcRate);
    if (ticks == 0)
        return false;

    std::int64_t frames = wholeFrames(Mw::getFramesPerSecond(tcRate) * seconds + 0.0001);
    if (frames < 0)
    {
        *buffer++ = '-';
        frames = -frames;
    }
    writeFields(buffer,
                dropFrame ? timecode_detail::dropFrameFields(saturatedInt(frames)) : wholeRateFields(frames, ticks),
                flags);
    return true;
}

double string_to_tc(const char* text, FrameRate rate, bool dropFrame)
{
    if (text == nullptr)
        return 0.0;
    const int ticks = Mw::getTicksPerSecond(rate);
    const double fps = Mw::getFramesPerSecond(rate);
    ScannedTimecode tc;
    if (!scan(text, tc) || fps == 0.0)
        return 0.0;
    if (tc.negative)
    {
        if (dropFrame)
            herc_printf("string_to_tc: error negative timecode\n");
        return static_cast<double>(
                   timecode_detail::wholeRateCount(-tc.hours, -tc.minutes, -tc.seconds, -tc.frames, ticks)) /
               fps;
    }
    const std::int64_t count =
        dropFrame ? timecode_detail::dropFrameCount(tc.hours, tc.minutes, tc.seconds, tc.frames)
                  : timecode_detail::wholeRateCount(tc.hours, tc.minutes, tc.seconds, tc.frames, ticks);
    return static_cast<double>(count) / fps;
}

double string_to_tc(const char* text, const TCInf& tcInf)
{
    return string_to_tc(text, tcInf.rate, tcInf.dropFrame);
}

bool isTimecodeStringDropFrame(const char* text)
{
    constexpr std::size_t beforeFramesSeparator = 8;
    if (text == nullptr || std::strlen(text) <= beforeFramesSeparator)
        return false;
    while (isSpace(*text))
        ++text;
    if (std::strlen(text) <= beforeFramesSeparator)
        return false;
    return text[beforeFramesSeparator] == ';' || text[beforeFramesSeparator] == ',';
}

// The small additions, here and in tc_to_frames, let a frame survive the way through a double.
double frames_to_tc(int frame, FrameRate rate, int pulldown, int phase)
{
    if (frame == -1)
        return noTimeSeconds;
    std::int64_t frames = std::abs(std::int64_t{frame});
    if (pulldown != 0)
        frames = withPulldown(frames, rate, phase);
    const double fps = pulldown != 0 ? vid_fps(rate) : playback_fps(rate);
    if (fps == 0.0)
        return noTimeSeconds;
    const double seconds = (static_cast<double>(frames) + 0.001) / fps;
    return (frame < 0 ? -seconds : seconds) + 1e-6;
}

int tc_to_frames(double seconds, FrameRate rate, int pulldown, int phase)
{
    const double length = std::fabs(seconds);
    if (length == noTimeSeconds || std::isnan(length))
        return -1;
    const double fps = pulldown != 0 ? vid_fps(rate) : playback_fps(rate);
    std::int64_t frames = wholeFrames((length + 1e-6) * fps + 0.001);
    if (pulldown != 0)
        frames = withoutPulldown(frames, rate, phase);
    return saturatedInt(seconds < 0.0 ? -frames : frames);
}

bool can_add_pulldown(FrameRate rate)
{
    return pulldownCycle(rate).video > 0;
}

bool can_remove_pulldown(FrameRate rate)
{
    return can_add_pulldown(rate);
}

int pd_cycle_size(FrameRate rate)
{
    return pulldownCycle(rate).video;
}

int pd_film_cycle(FrameRate rate)
{
    return pulldownCycle(rate).film;
}

int add_pulldown(int frames, FrameRate rate, int phase)
{
    return saturatedInt(withPulldown(frames, rate, phase));
}

int remove_pulldown(int frames, FrameRate rate, int phase)
{
    return saturatedInt(withoutPulldown(frames, rate, phase));
}

const char* tv_standard_to_edlstr(TCInf tcInf)
{
    switch (tcInf.rate)
    {
    case Mw::FR25:
    case Mw::FR50:
        return "P";
    case Mw::FR30:
    case Mw::FR30M:
    case Mw::FR60:
    case Mw::FR60M:
        return tcInf.dropFrame ? "ND" : "N";
    default:
        return "P24";
    }
}

TCInf edlstr_to_tv_standard(const char* text)
{
    static constexpr std::pair<const char*, TCInf> labels[] = {
        {"P", {Mw::FR25, false}},   {"N", {Mw::FR30M, false}},  {"ND", {Mw::FR30M, true}},
        {"P24", {Mw::FR24, false}}, {"N24", {Mw::FR24, false}}, {"ND24", {Mw::FR24, true}},
    };
    if (text != nullptr)
    {
        for (const auto& [label, tcInf] : labels)
        {
            if (std::strcmp(text, label) == 0)
                return tcInf;
        }
    }
    return {};
}
