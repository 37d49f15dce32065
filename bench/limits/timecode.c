#include "bench/limits/limits.h"

#include <math.h>
#include <stdio.h>

/* Timecode as a C programmer would write it for a program of his own: the formulas in functions of one
   file, with the day's loop beside them. */

enum
{
    framesPerHour = 107892,
    framesPerTenMinutes = 17982,
    framesPerFirstMinute = 1800,
    framesPerMinute = 1798,
    framesPerDroppedDay = 24 * framesPerHour,
    droppedDayWrap = 2589406
};

struct fields
{
    short hours, minutes, seconds, frames, drop_frame;
};

/* f counts from 0. */
static void split_drop_frame(int f, struct fields* tc)
{
    const int r = f % framesPerHour;
    const int x = r % framesPerTenMinutes;
    const int tens = r / framesPerTenMinutes * 10;
    const int y = x - framesPerFirstMinute;
    tc->drop_frame = 1;
    tc->hours = (short)(f / framesPerHour);
    if (y < 0)
    {
        tc->minutes = (short)tens;
        tc->seconds = (short)(x / 30);
        tc->frames = (short)(x % 30);
    }
    else
    {
        const int in_minute = y % framesPerMinute;
        const int z = in_minute - 28;
        tc->minutes = (short)(tens + y / framesPerMinute + 1);
        tc->seconds = (short)(z < 0 ? 0 : z / 30 + 1);
        tc->frames = (short)(z < 0 ? in_minute + 2 : z % 30);
    }
}

static void split(int f, struct fields* tc, int fps)
{
    const int s = f / fps;
    tc->drop_frame = 0;
    tc->frames = (short)(f % fps);
    tc->seconds = (short)(s % 60);
    tc->minutes = (short)(s / 60 % 60);
    tc->hours = (short)(s / 3600);
}

static void frames_to_tc(int frame, struct fields* tc, short fps, short drop_frame)
{
    if (drop_frame)
        split_drop_frame(frame > 0 ? frame - 1 : frame + droppedDayWrap, tc);
    else
        split(frame > 0 ? frame - 1 : frame - 1 + fps * 86400, tc, fps);
    if (tc->hours >= 24)
    {
        tc->hours = 23;
        tc->minutes = 59;
        tc->seconds = 59;
        tc->frames = (short)(fps - 1);
    }
}

static int count_drop_frame(int hours, int minutes, int seconds, int frames)
{
    const int u = minutes % 10;
    int n = hours * framesPerHour + minutes / 10 * framesPerTenMinutes;
    if (u == 0)
        return n + (seconds > 0 ? seconds * 30 : 0) + frames;
    n += (u - 1) * framesPerMinute + framesPerFirstMinute;
    return seconds > 0 ? n + 28 + (seconds - 1) * 30 + frames : n + frames - 2;
}

static int count(int hours, int minutes, int seconds, int frames, int fps)
{
    return ((hours * 60 + minutes) * 60 + seconds) * fps + frames;
}

static int tc_to_frames(const struct fields* tc, short fps, short drop_frame)
{
    return 1 + (drop_frame ? count_drop_frame(tc->hours, tc->minutes, tc->seconds, tc->frames)
                           : count(tc->hours, tc->minutes, tc->seconds, tc->frames, fps));
}

long limit_fields(short fps, short drop_frame, size_t operations)
{
    const int day = drop_frame ? framesPerDroppedDay : fps * 86400;
    long sum = 0;
    int frame = 1;
    for (; operations != 0; --operations)
    {
        struct fields tc;
        frames_to_tc(frame, &tc, fps, drop_frame);
        /* Somebody else reads the fields and may have changed them. */
        __asm__ volatile("" : "+m"(tc) : : "memory");
        sum += tc_to_frames(&tc, fps, drop_frame);
        frame = frame < day ? frame + 1 : 1;
    }
    return sum;
}

void plain_tc_to_string(double seconds, char* buffer, double fps, int ticks, int drop_frame)
{
    struct fields tc;
    const int frames = (int)floor(fabs(seconds) * fps + 0.0001);
    if (drop_frame)
        split_drop_frame(frames, &tc);
    else
        split(frames, &tc, ticks);
    snprintf(buffer, plainTextBytes, "%s%02d:%02d:%02d%c%02d", seconds < 0 ? "-" : "", tc.hours, tc.minutes, tc.seconds,
             drop_frame ? ';' : '.', tc.frames);
}

double plain_string_to_tc(const char* text, double fps, int ticks, int drop_frame)
{
    int hours, minutes, seconds, frames;
    char separator;
    if (sscanf(text, "%d:%d:%d%c%d", &hours, &minutes, &seconds, &separator, &frames) != 5)
        return 0;
    return (drop_frame ? count_drop_frame(hours, minutes, seconds, frames)
                       : count(hours, minutes, seconds, frames, ticks)) /
           fps;
}
