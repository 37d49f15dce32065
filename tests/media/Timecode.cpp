#include "misc/media/Timecode.h"
#include "libmw/Text.h"
#include "media/AssertionLines.h"
#include "media/LabelsOfADay.h"
#include "misc/diagnostics/Console.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstring>
#include <random>
#include <string>

using namespace Mw;

namespace
{

constexpr int lastDropFrame = 2589408;

std::string text(const tc_addr& tc)
{
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%02d:%02d:%02d%c%02d", tc.hours, tc.minutes, tc.seconds,
                  tc.dropFrame != 0 ? ';' : ':', tc.frames);
    return buffer;
}

tc_addr fieldsOf(int frame, short fps, bool dropFrame)
{
    tc_addr tc{-1, -1, -1, -1, -1};
    frames_to_tc(frame, &tc, fps, dropFrame);
    return tc;
}

std::string shown(double seconds, int flags, FrameRate rate, bool dropFrame = false)
{
    char buffer[longestTimecodeBytes] = "untouched";
    EXPECT_TRUE(tc_to_string(seconds, buffer, flags, rate, dropFrame));
    return buffer;
}

void expectWholeDay(int frames, short fps, bool dropFrame)
{
    int frame = 0;
    forEachLabelOfADay(fps, dropFrame ? 2 : 0,
                       [&](const tc_addr& label, bool exists)
                       {
                           if (!exists)
                               return;
                           ++frame;
                           ASSERT_TRUE(tcode_compare(fieldsOf(frame, fps, dropFrame), label))
                               << frame << ": " << text(label);
                           ASSERT_EQ(tc_to_frames(&label, fps, dropFrame), frame);
                       });
    EXPECT_EQ(frame, frames);
    EXPECT_TRUE(tcode_compare(fieldsOf(frames + 1, fps, dropFrame), fieldsOf(frames, fps, dropFrame)));
}

// What the C library makes of a text.
double scannedSeconds(const char* text, FrameRate rate, bool dropFrame)
{
    int h, m, s, f;
    char separator;
    const int ticks = getTicksPerSecond(rate);
    const double fps = getFramesPerSecond(rate);
    if (std::sscanf(text, "-%d:%d:%d%c%d", &h, &m, &s, &separator, &f) == 5)
        return (((-h * 60.0 - m) * 60.0 - s) * ticks - f) / fps;
    if (std::sscanf(text, "%d:%d:%d%c%d", &h, &m, &s, &separator, &f) != 5)
        return 0.0;
    const auto count = dropFrame ? timecode_detail::dropFrameCount(h, m, s, f) : ((h * 60LL + m) * 60 + s) * ticks + f;
    return static_cast<double>(count) / fps;
}

} // namespace

TEST(TimecodeFields, everyFrameOfADayComesBack)
{
    expectWholeDay(lastDropFrame, 30, true);
    expectWholeDay(86400 * 24, 24, false);
    expectWholeDay(86400, 1, false);
}

TEST(TimecodeFields, edges)
{
    const auto at = [](int frame, short fps, bool dropFrame) { return text(fieldsOf(frame, fps, dropFrame)); };
    EXPECT_EQ(at(0, 25, false), "23:59:59:24");
    EXPECT_EQ(at(1 - 25 * 86400, 25, false), "00:00:00:00");
    EXPECT_EQ(at(-25 * 86400, 25, false), "00:00:00:-1");
    EXPECT_EQ(at(INT_MIN, 1, false), "-32768:-14:-9:00");
    EXPECT_EQ(at(INT_MAX, 240, false), "23:59:59:239");
    EXPECT_EQ(at(0, 30, true), "23:59:59;28");
    EXPECT_EQ(at(-2589405, 30, true), "00:00:00;01");
    EXPECT_EQ(at(INT_MAX, 60, true), "23:59:59;59");
    EXPECT_EQ(at(7, 0, true), "00:00:00:00");
    EXPECT_EQ(at(7, -25, false), "00:00:00:00");
}

TEST(TimecodeFields, countsFollowTheArgumentAndStayInRange)
{
    const tc_addr tc{0, 1, 0, 2, 0};
    const tc_addr flagged{0, 1, 0, 2, 1};
    EXPECT_FALSE(tcode_compare(tc, flagged));
    EXPECT_EQ(tc_to_frames(&tc, 30, 1), 1801);
    EXPECT_EQ(tc_to_frames(&flagged, 30, 0), 1803);

    const tc_addr highest{SHRT_MAX, SHRT_MAX, SHRT_MAX, SHRT_MAX, 0};
    const tc_addr lowest{SHRT_MIN, SHRT_MIN, SHRT_MIN, SHRT_MIN, 0};
    for (const bool dropFrame : {false, true})
    {
        EXPECT_EQ(tc_to_frames(&highest, SHRT_MAX, dropFrame), INT_MAX);
        EXPECT_EQ(tc_to_frames(&lowest, SHRT_MAX, dropFrame), INT_MIN);
    }
}

TEST(TimecodeText, flagsChooseTheFieldsThatAreShown)
{
    // Without a flag, with each of the four alone, and with all.
    const std::pair<double, const char*> table[] = {
        {0.0, "|00:00:00|00:00|00|.00|00:00:00.00"},
        {0.2, "|00:00:00|00:00|00|.05|00:00:00.05"},
        {-0.2, "-|-00:00:00|-00:00|-00|-.05|-00:00:00.05"},
        {5.2, "5.05|00:00:05.05|00:05.05|05.05|5.05|00:00:05.05"},
        {15.2, "15.05|00:00:15.05|00:15.05|15.05|15.05|00:00:15.05"},
        {65.2, "1:05.05|00:01:05.05|01:05.05|1:05.05|1:05.05|00:01:05.05"},
        {3600.0, "1:00:00.00|01:00:00.00|1:00:00.00|1:00:00.00|1:00:00.00|01:00:00.00"},
    };
    for (const auto& [seconds, expected] : table)
    {
        std::string texts = shown(seconds, 0, FR25);
        for (const int flags : {TC_SHOW_HOURS, TC_SHOW_MINUTES, TC_SHOW_SECONDS, TC_SHOW_FRAMES, TC_SHOW_ALL})
            texts += '|' + shown(seconds, flags, FR25);
        EXPECT_EQ(texts, expected);
    }
    EXPECT_EQ(shown(-86400.0, 0, FR25), "-24:00:00.00");
    EXPECT_EQ(shown(86400.04, TC_SHOW_ALL, FR25), "00:00:00.01");
    EXPECT_EQ(shown(std::nan(""), TC_SHOW_ALL, FR25), "00:00:00.00");
}

TEST(TimecodeText, longestTextFitsAndIsReached)
{
    AssertionLines lines;
    std::size_t longest = 0;
    for (int value = 1; value != 48; ++value)
        for (const double seconds : {-1e99, -86400.0, -86399.9999, 1e7, 1e99})
            for (const bool dropFrame : {false, true})
            {
                char buffer[64];
                tc_to_string(seconds, buffer, TC_SHOW_ALL, static_cast<FrameRate>(value), dropFrame);
                longest = std::max(longest, std::strlen(buffer));
            }
    EXPECT_EQ(longest + 1, std::size_t{longestTimecodeBytes});
    EXPECT_EQ(shown(lastDropFrame * 1.001 / 30, 0, FR30M, true), "24:00:00;00");
    EXPECT_EQ(shown(-1e99, TC_SHOW_ALL, FR240M, true), "-19904:00:42;19");
    EXPECT_EQ(shown(-1e99, TC_SHOW_ALL, FR25), "-23:06:40.00"); // 10^18 frames
    EXPECT_EQ(shown(-86399.999, TC_SHOW_ALL, FR240), "-24:00:00.00");
    EXPECT_EQ(shown(86399.999, TC_SHOW_ALL, FR240), "23:59:59.239");
}

TEST(TimecodeText, ratesThatShowNoTimecode)
{
    for (const FrameRate rate : {FRInvalid, FR24F, FR24D2, static_cast<FrameRate>(48)})
    {
        AssertionLines lines;
        char buffer[longestTimecodeBytes] = "untouched";
        EXPECT_FALSE(tc_to_string(1.0, buffer, TC_SHOW_ALL, rate, true));
        EXPECT_STREQ(buffer, "");
        EXPECT_TRUE(lines.text().starts_with(rate == FRInvalid
                                                 ? "assertion failed tcRate != Mw::FRInvalid at misc/tccvt line 23\n"
                                                 : "assertion failed rateIsValid at misc/FrameRate line "));
        EXPECT_EQ(string_to_tc("01:00:01:00", rate, false), 0.0);
    }
}

TEST(TimecodeText, negativeDropFrameCountsWithoutAndSaysSo)
{
    const auto contents = herc_create_contents();
    herc_set_on(true);
    EXPECT_EQ(string_to_tc("-00:01:00;00", FR30M, true), string_to_tc("-00:01:00;00", FR30M, false));
    herc_set_on(false);
    EXPECT_STREQ(toUTF8(contents->row(ConsoleGeometry{}.messageLine)).substr(0, 37).c_str(),
                 "string_to_tc: error negative timecode");
    EXPECT_EQ(string_to_tc(" -0:01:00:00", FR30, true), string_to_tc("0:01:00:00", FR30, true)); // a sign of zero
}

TEST(TimecodeText, readsWhatSscanfReads)
{
    std::mt19937 random(1);
    const auto pick = [&](std::string_view from) { return from[random() % from.size()]; };
    const auto number = [&]
    {
        std::string digits;
        for (unsigned space = random() % 8; space >= 6; --space)
            digits += pick(" \t\n\v\f\r");
        if (random() % 8 == 0)
            digits += pick("+-");
        for (std::size_t i = 0, count = 1 + random() % 3; i != count; ++i)
            digits += pick("0123456789");
        return digits;
    };
    int understood = 0;
    for (int round = 0; round != 100000; ++round)
    {
        std::string text = random() % 6 == 0 ? "-" : "";
        text += number() + ':' + number() + ':' + number() + pick(":;., x-") + number();
        for (unsigned damage = random() % 4; damage >= 2; --damage)
            text.insert(random() % (text.size() + 1), 1, pick(std::string_view("0:;- x\n\0", 8)));
        const bool dropFrame = random() % 2 != 0;
        const double expected = scannedSeconds(text.c_str(), FR30M, dropFrame);
        ASSERT_EQ(string_to_tc(text.c_str(), {FR30M, dropFrame}), expected) << text;
        understood += expected != 0.0;
    }
    EXPECT_GT(understood, 50000);
}

TEST(TimecodeText, numbersBeyond32BitsCountAsTheNearest)
{
    EXPECT_EQ(string_to_tc(nullptr, FR25, false), 0.0);
    EXPECT_EQ(string_to_tc("0:0:0:99999999999999999999", FR25, false), INT_MAX / 25.0);
    EXPECT_EQ(string_to_tc("0:0:0:-4294967297", FR25, false), INT_MIN / 25.0);
    EXPECT_EQ(string_to_tc("2147483648:0:0:0", FR240, false), INT_MAX * 3600.0);
}

TEST(TimecodeText, everyTextOfTenMinutesReadsBack)
{
    for (const auto& [rate, dropFrame] : {TCInf{FR30M, true}, {FR30M, false}, {FR24M, false}, {FR120M, false}})
        for (int frame = 0; frame != 18000; ++frame)
        {
            const double seconds = frames_to_tc(frame, rate, 0, 0);
            const std::string text = shown(seconds, TC_SHOW_ALL, rate, dropFrame);
            ASSERT_EQ(tc_to_frames(string_to_tc(text.c_str(), rate, dropFrame), rate, 0, 0), frame) << text;
        }
}

TEST(TimecodeText, dropFrameIsReadFromTheSeparator)
{
    for (const char* text : {"01:00:00;00", " \t01:00:00,00", "01:00:00;"})
        EXPECT_TRUE(isTimecodeStringDropFrame(text)) << text;
    for (const char* text : {"01:00:00:00", "01:00:00.00", "01:00:00", "1:00:00;00", "          ", "    01:00:00"})
        EXPECT_FALSE(isTimecodeStringDropFrame(text)) << text;
    EXPECT_FALSE(isTimecodeStringDropFrame(nullptr));
}

TEST(TimecodeSeconds, framesSurviveTheJourneyAtEveryRate)
{
    AssertionLines lines;
    for (int value = 1; value != 48; ++value)
    {
        const auto rate = static_cast<FrameRate>(value);
        const bool hasFrames = getFramesPerSecond(rate) != 0.0;
        EXPECT_EQ(frames_to_tc(7, rate, 0, 0) == noTimeSeconds, !hasFrames);
        for (int frame = -40000; hasFrames && frame != 40000; ++frame)
            ASSERT_EQ(tc_to_frames(frames_to_tc(frame, rate, 0, 0), rate, 0, 0), frame) << rate;
        for (int frame = 0; hasFrames && frame != 1000; ++frame)
            ASSERT_EQ(tc_to_frames(frames_to_tc(frame, rate, 1, 3), rate, 1, 3), frame) << rate;
    }
}

TEST(TimecodeSeconds, noTimeAndTheEndsOfTheRange)
{
    EXPECT_EQ(frames_to_tc(-1, FR25, 0, 0), 1e99);
    for (const double seconds : {1e99, -1e99, std::nan("")})
        EXPECT_EQ(tc_to_frames(seconds, FR25, 1, 0), -1);
    EXPECT_EQ(tc_to_frames(1e12, FR25, 1, 0), INT_MAX);
    EXPECT_EQ(tc_to_frames(-1e12, FR25, 0, 0), INT_MIN);
    EXPECT_DOUBLE_EQ(frames_to_tc(INT_MIN, FR25, 0, 0), -(2147483648.001 / 25) + 1e-6);
    EXPECT_DOUBLE_EQ(frames_to_tc(4, FR30M, 1, 0), 5.001 * 1.001 / 30 + 1e-6);
}

TEST(Pulldown, filmFramesComeBackFromTheirVideoFrames)
{
    for (const FrameRate rate : {FR25, FR30, FR30M, FR50, FR60, FR60M})
        for (int phase = 0; phase != pd_film_cycle(rate); ++phase)
            for (int frame = 0; frame != 1000; ++frame)
                ASSERT_EQ(remove_pulldown(add_pulldown(frame, rate, phase), rate, phase), frame);
    EXPECT_FALSE(can_add_pulldown(FR24) || can_remove_pulldown(FR60MD2));
    EXPECT_TRUE(add_pulldown(3, FR30, 0) == 3 && add_pulldown(4, FR30, 0) == 5 && add_pulldown(24, FR25, 0) == 25);
    EXPECT_EQ(remove_pulldown(4, FR60M, 0), 3) << "the repetition";
    for (const int phase : {3, -1, 7})
        EXPECT_EQ(add_pulldown(1, FR30, phase), 2);
    EXPECT_EQ(add_pulldown(INT_MAX, FR30, INT_MIN), INT_MAX);
    EXPECT_EQ(add_pulldown(INT_MIN, FR30, INT_MAX), INT_MIN);
    EXPECT_TRUE(add_pulldown(7, FR24, 2) == 7 && remove_pulldown(-7, FR48, 2) == -7);
}

TEST(EditListLabels, readBackAsTheRateThatTheyStandFor)
{
    const std::pair<TCInf, const char*> labels[] = {
        {{FR25, false}, "P"}, {{FR30M, false}, "N"}, {{FR30M, true}, "ND"}, {{FR24, false}, "P24"}};
    for (const auto& [tcInf, label] : labels)
    {
        EXPECT_STREQ(tv_standard_to_edlstr(tcInf), label);
        EXPECT_EQ(edlstr_to_tv_standard(label), tcInf);
    }
    EXPECT_STREQ(tv_standard_to_edlstr({FRInvalid, true}), "P24");
    EXPECT_EQ(edlstr_to_tv_standard("ND24"), (TCInf{FR24, true}));
    EXPECT_EQ(edlstr_to_tv_standard("nd"), TCInf{});
    EXPECT_EQ(edlstr_to_tv_standard(nullptr), TCInf{});
}
