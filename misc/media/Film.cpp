#include "misc/media/Film.h"

#include "misc/media/Saturated.h"

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace
{

struct Gauge
{
    const char* text;
    const char* edlText;
    int perfsPerFrame;
    int perfsPerFoot;
    int firstPerf; // of frame 0 in its foot
};

constexpr Gauge gauges[] = {
    {"16mm", "F16", 1, 40, 0},         {"35mm", "F35", 4, 64, 0},        {"16mm ink", "F16R", 1, 40, 0},
    {"35mm 3-perf", "F353", 3, 64, 2}, {"INVALID", "INVALID", -1, 0, 0},
};

bool isGauge(film_gauge gauge)
{
    return gauge >= FILM_16MM && gauge < FILM_INVALID;
}

const Gauge& rowOf(film_gauge gauge)
{
    return gauges[isGauge(gauge) ? gauge : FILM_INVALID];
}

char lowerCase(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool equalWithoutCase(const char* a, const char* b)
{
    while (*a != 0 && lowerCase(*a) == lowerCase(*b))
    {
        ++a;
        ++b;
    }
    return lowerCase(*a) == lowerCase(*b);
}

// Every count within a foot fits an int.
std::pair<int, int> footOf(std::int64_t frame, film_gauge gauge)
{
    if (!isGauge(gauge))
        return {noFoot, 0};
    const Gauge& row = rowOf(gauge);
    const std::int64_t perfs = frame * row.perfsPerFrame + row.firstPerf;
    return {static_cast<int>(perfs / row.perfsPerFoot), static_cast<int>(perfs % row.perfsPerFoot / row.perfsPerFrame)};
}

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

// The number at `text`, which moves behind its digits. Numbers beyond an int are its highest, which as
// feet or as frames makes the sum of both saturate.
std::int64_t readDigits(const char*& text)
{
    int value = 0;
    const auto [end, error] = std::from_chars(text, text + std::strlen(text), value);
    text = end;
    return error == std::errc::result_out_of_range ? std::numeric_limits<int>::max() : value;
}

} // namespace

film_gauge int_to_film_gauge(int widthMm)
{
    return widthMm == 16 ? FILM_16MM : widthMm == 35 ? FILM_35MM : FILM_INVALID;
}

const char* film_gauge_to_str(film_gauge gauge)
{
    return rowOf(gauge).text;
}

const char* film_gauge_to_edlstr(film_gauge gauge)
{
    return rowOf(gauge).edlText;
}

film_gauge edlstr_to_film_gauge(const char* text)
{
    for (int gauge = FILM_16MM; gauge != FILM_INVALID && text != nullptr; ++gauge)
    {
        if (equalWithoutCase(text, gauges[gauge].edlText))
            return static_cast<film_gauge>(gauge);
    }
    return FILM_INVALID;
}

int frames_to_perfs(int frames, film_gauge gauge)
{
    return Mw::saturatedInt(std::int64_t{frames} * rowOf(gauge).perfsPerFrame);
}

int perfs_to_frames(int perfs, film_gauge gauge)
{
    return Mw::saturatedInt(std::int64_t{perfs} / rowOf(gauge).perfsPerFrame);
}

std::pair<int, int> frames_to_foot_num(int frame, film_gauge gauge)
{
    return footOf(frame, gauge);
}

const char* frames_to_feet(int frame, film_gauge gauge, int zeroPad)
{
    static char buffer[16]; // "-134217728.00" is the longest
    const char sign = frame < 0 ? '-' : ' ';
    const auto [foot, inFoot] = footOf(std::abs(std::int64_t{frame}), gauge);
    if (foot == noFoot)
        std::snprintf(buffer, sizeof buffer, "INVALID");
    else
        std::snprintf(buffer, sizeof buffer, zeroPad != 0 ? "%c%04d.%02d" : "%c%4d.%02d", sign, foot, inFoot);
    return buffer;
}

int feet_to_frames(const char* text, film_gauge gauge)
{
    if (!isGauge(gauge))
        return -1;
    if (text == nullptr)
        return 0;
    const bool negative = *text == '-';
    while (*text != 0 && !isDigit(*text))
        ++text;
    const std::int64_t feet = readDigits(text);
    std::int64_t frames = 0;
    if (*text != 0 && isDigit(text[1]))
        frames = readDigits(++text);
    const Gauge& row = rowOf(gauge);
    const std::int64_t total = (row.perfsPerFoot * feet + frames * row.perfsPerFrame) / row.perfsPerFrame;
    return Mw::saturatedInt(negative ? -total : total);
}

Mw::FrameRate film_gauge_to_tv_standard(film_gauge)
{
    return Mw::FRInvalid;
}

film_gauge tv_standard_to_film_gauge(Mw::FrameRate)
{
    return FILM_INVALID;
}
