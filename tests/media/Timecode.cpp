#include "misc/media/Timecode.h"

#include "media/AssertionLines.h"
#include "misc/media/TimecodeLabel.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstring>
#include <string>

using namespace Mw;

namespace
{

constexpr int lastDropFrame = 2589408;

constexpr TCInf drop(FrameRate rate)
{
    return {rate, true};
}

tc_addr fieldsOf(int frame, short fps, bool dropFrame)
{
    tc_addr tc{-1, -1, -1, -1, -1};
    frames_to_tc(frame, &tc, fps, dropFrame);
    return tc;
}

std::string shown(const tc_addr& label)
{
    char buffer[longestLabelBytes];
    writeLabel(label, buffer);
    return buffer;
}

std::string shown(double seconds, int flags, FrameRate rate, bool dropFrame = false)
{
    char buffer[longestTimecodeBytes] = "untouched";
    EXPECT_TRUE(tc_to_string(seconds, buffer, flags, rate, dropFrame));
    return buffer;
}

// Every label of a day in order, those included that drop frame leaves out: the first `dropped` of nine in ten
// minutes. Up to 30 a second the fields count as the labels do, from 1 on.
void expectLabelsOfADay(TCInf tcInf, int dropped, int frames)
{
    const int fps = labelsPerSecond(tcInf.rate);
    int frame = 0;
    for (int labels = 0; labels != 86400 * fps; ++labels)
    {
        const int second = labels / fps;
        const tc_addr label =
            timecode_detail::fields(second / 3600, second / 60 % 60, second % 60, labels % fps, dropped > 0 ? 1 : 0);
        if (second / 60 % 10 != 0 && second % 60 == 0 && labels % fps < dropped)
        {
            ASSERT_EQ(checkLabel(label, tcInf), LabelFault::Dropped);
            ASSERT_EQ(frameOfLabel(label, tcInf), std::nullopt);
            continue;
        }
        ASSERT_EQ(checkLabel(label, tcInf), LabelFault::None);
        ASSERT_EQ(frameOfLabel(label, tcInf), frame) << shown(label);
        ASSERT_EQ(labelOfFrame(frame, tcInf), label) << frame;
        ++frame;
        if (fps > 30)
            continue;
        ASSERT_TRUE(tcode_compare(fieldsOf(frame, static_cast<short>(fps), tcInf.dropFrame), label)) << frame;
        ASSERT_EQ(tc_to_frames(&label, static_cast<short>(fps), tcInf.dropFrame), frame) << shown(label);
    }
    EXPECT_EQ(frame, frames);
    EXPECT_EQ(framesPerDay(tcInf), frames);
}

} // namespace

TEST(TimecodeLabel, everyFrameOfADayComesBack)
{
    AssertionLines lines;
    expectLabelsOfADay(drop(FR30M), 2, lastDropFrame);
    expectLabelsOfADay(drop(FR60M), 4, 2 * lastDropFrame);
    expectLabelsOfADay(drop(FR120M), 8, 4 * lastDropFrame);
    expectLabelsOfADay({FR24M, false}, 0, 24 * 86400);

    std::vector<FrameRate> rates;
    getAllFrameRates(rates);
    for (const FrameRate rate : rates)
    {
        const bool drops = rate == FR30M || rate == FR60M || rate == FR120M;
        EXPECT_EQ(framesPerDay(drop(rate)) != 86400 * labelsPerSecond(rate), drops) << rate;
        EXPECT_EQ(labelOfFrame(1, drop(rate)).dropFrame != 0, drops) << rate;
    }
    EXPECT_EQ(lines.text(), "");

    const std::int64_t day = framesPerDay(drop(FR60M));
    EXPECT_EQ(shown(labelOfFrame(1'000'000'000'000 * day + 3600, drop(FR60M))), "00:01:00;04");
    EXPECT_EQ(shown(labelOfFrame(-1, {FR240, false})), "23:59:59:239");
    EXPECT_EQ(labelOfFrame(5, {FR24D2, false}), tc_addr{});
}

TEST(TimecodeLabel, faultsAreNamed)
{
    const TCInf whole{FR25, false};
    const std::tuple<const char*, TCInf, LabelFault> rows[] = {{"23:59:59:24", whole, LabelFault::None},
                                                               {"10:20:30:119", {FR120M, false}, LabelFault::None},
                                                               {"24:00:00:00", whole, LabelFault::NoHour},
                                                               {"00:60:00:00", whole, LabelFault::NoMinute},
                                                               {"00:00:60:00", whole, LabelFault::NoSecond},
                                                               {"00:00:00:25", whole, LabelFault::NoFrame},
                                                               {"00:00:00:00", drop(FR12_5), LabelFault::NoRate},
                                                               {"00:00:00:00", drop(FR25F), LabelFault::NoRate},
                                                               {"", whole, LabelFault::NotALabel},
                                                               {"00:00:00:0000", whole, LabelFault::NotALabel},
                                                               {"00:00:00 00", whole, LabelFault::NotALabel}};
    for (const auto& [text, tcInf, fault] : rows)
    {
        tc_addr label;
        EXPECT_EQ(readLabel(text, tcInf, label), fault) << text;
        EXPECT_TRUE(fault != LabelFault::None || shown(label) == text) << text;
    }
    EXPECT_EQ(checkLabel({-1, 0, 0, 0, 0}, whole), LabelFault::NoHour);
    EXPECT_EQ(shown({24, 0, 0, 0, 0}), "");
}

TEST(TimecodeFields, edges)
{
    EXPECT_EQ(fieldsOf(0, 25, false), (tc_addr{23, 59, 59, 24, 0}));
    EXPECT_EQ(fieldsOf(-25 * 86400, 25, false), (tc_addr{0, 0, 0, -1, 0}));
    EXPECT_EQ(fieldsOf(INT_MIN, 1, false), (tc_addr{-32768, -14, -9, 0, 0}));
    EXPECT_EQ(fieldsOf(0, 30, true), (tc_addr{23, 59, 59, 28, 1}));
    EXPECT_EQ(fieldsOf(INT_MAX, 60, true), (tc_addr{23, 59, 59, 59, 1}));
    EXPECT_EQ(fieldsOf(7, -25, false), tc_addr{});

    const tc_addr flagged{0, 1, 0, 2, 1};
    EXPECT_EQ(tc_to_frames(&flagged, 30, 0), 1803) << "the argument decides drop frame, not the field";
    const tc_addr highest{SHRT_MAX, SHRT_MAX, SHRT_MAX, SHRT_MAX, 0};
    const tc_addr lowest{SHRT_MIN, SHRT_MIN, SHRT_MIN, SHRT_MIN, 0};
    EXPECT_EQ(tc_to_frames(&highest, SHRT_MAX, true), INT_MAX);
    EXPECT_EQ(tc_to_frames(&lowest, SHRT_MAX, true), INT_MIN);
}

TEST(TimecodeText, flagsChooseTheFieldsThatAreShown)
{
    // Without a flag, with each of the four alone, and with all.
    const std::pair<double, const char*> table[] = {
        {0.0, "|00:00:00|00:00|00|.00|00:00:00.00"},
        {-0.2, "-|-00:00:00|-00:00|-00|-.05|-00:00:00.05"},
        {5.2, "5.05|00:00:05.05|00:05.05|05.05|5.05|00:00:05.05"},
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
    char none[] = "untouched";
    EXPECT_FALSE(tc_to_string(1.0, none, TC_SHOW_ALL, FR24D2, true) || *none != 0);
    EXPECT_EQ(shown(lastDropFrame * 1.001 / 30, 0, FR30M, true), "24:00:00;00");
    EXPECT_EQ(shown(-1e99, TC_SHOW_ALL, FR240M, true), "-19904:00:42;19");
    EXPECT_EQ(shown(-1e99, TC_SHOW_ALL, FR25), "-23:06:40.00"); // 10^18 frames
}

// What else is read, and what not, is held against sscanf by a fuzz target.
TEST(TimecodeText, readsDropFrameAndNumbersOfAnySize)
{
    EXPECT_EQ(string_to_tc("-00:01:00;00", FR30M, true), string_to_tc("-00:01:00;00", FR30M, false));
    EXPECT_EQ(string_to_tc(" -0:01:00:02", {FR30M, true}), 1800 / getFramesPerSecond(FR30M)); // a sign of zero
    EXPECT_TRUE(string_to_tc(nullptr, FR25, false) == 0.0 && string_to_tc("01:00:01:00", FRInvalid, false) == 0.0);
    EXPECT_EQ(string_to_tc("0:0:0:99999999999999999999", FR25, false), INT_MAX / 25.0);
    EXPECT_EQ(string_to_tc("0:0:0:-4294967297", FR25, false), INT_MIN / 25.0);
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
    for (const char* text : {"01:00:00:00", "01:00:00", "1:00:00;00", "    01:00:00"})
        EXPECT_FALSE(isTimecodeStringDropFrame(text)) << text;
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
    EXPECT_EQ(frames_to_tc(-1, FR25, 0, 0), 1e99);
    for (const double seconds : {1e99, -1e99, std::nan("")})
        EXPECT_EQ(tc_to_frames(seconds, FR25, 1, 0), -1);
    EXPECT_EQ(tc_to_frames(-1e12, FR25, 0, 0), INT_MIN);
    EXPECT_DOUBLE_EQ(frames_to_tc(4, FR30M, 1, 0), 5.001 * 1.001 / 30 + 1e-6);
}

TEST(Pulldown, filmFramesComeBackFromTheirVideoFrames)
{
    for (const FrameRate rate : {FR25, FR30, FR30M, FR50, FR60, FR60M})
        for (int phase = 0; phase != pd_film_cycle(rate); ++phase)
            for (int frame = 0; frame != 1000; ++frame)
                ASSERT_EQ(remove_pulldown(add_pulldown(frame, rate, phase), rate, phase), frame);
    EXPECT_TRUE(add_pulldown(3, FR30, 0) == 3 && add_pulldown(4, FR30, 0) == 5 && add_pulldown(24, FR25, 0) == 25);
    EXPECT_EQ(remove_pulldown(4, FR60M, 0), 3) << "the repetition";
    EXPECT_EQ(add_pulldown(INT_MAX, FR30, INT_MIN), INT_MAX);
}

TEST(EditListLabels, readBackAsTheRateThatTheyStandFor)
{
    for (const TCInf tcInf : {TCInf{FR25, false}, {FR30M, false}, {FR30M, true}, {FR24, false}})
        EXPECT_EQ(edlstr_to_tv_standard(tv_standard_to_edlstr(tcInf)), tcInf);
    EXPECT_STREQ(tv_standard_to_edlstr({FRInvalid, true}), "P24");
    EXPECT_EQ(edlstr_to_tv_standard("ND24"), (TCInf{FR24, true}));
    EXPECT_TRUE(edlstr_to_tv_standard("nd") == TCInf{} && edlstr_to_tv_standard(nullptr) == TCInf{});
}
