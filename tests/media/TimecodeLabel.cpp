#include "misc/media/TimecodeLabel.h"
#include "media/AssertionLines.h"
#include "media/LabelsOfADay.h"

#include <gtest/gtest.h>

#include <string>

using namespace Mw;

namespace
{

constexpr TCInf drop(FrameRate rate)
{
    return {rate, true};
}

std::string shown(const tc_addr& label)
{
    char buffer[longestLabelBytes];
    writeLabel(label, buffer);
    return buffer;
}

void expectLabelsOfADay(TCInf tcInf, int dropped, int frames)
{
    int frame = 0;
    forEachLabelOfADay(labelsPerSecond(tcInf.rate), dropped,
                       [&](const tc_addr& label, bool exists)
                       {
                           ASSERT_EQ(checkLabel(label, tcInf), exists ? LabelFault::None : LabelFault::Dropped);
                           ASSERT_EQ(frameOfLabel(label, tcInf), exists ? std::optional(frame) : std::nullopt);
                           ASSERT_TRUE(!exists || labelOfFrame(frame, tcInf) == label) << frame;
                           frame += exists;
                       });
    EXPECT_EQ(frame, frames);
    EXPECT_EQ(framesPerDay(tcInf), frames);
}

} // namespace

TEST(TimecodeLabel, everyLabelOfADropFrameDay)
{
    expectLabelsOfADay(drop(FR30M), 2, 2589408);
    expectLabelsOfADay(drop(FR60M), 4, 2 * 2589408);
    expectLabelsOfADay(drop(FR120M), 8, 4 * 2589408);
}

TEST(TimecodeLabel, noOtherRateDropsLabels)
{
    AssertionLines lines;
    std::vector<FrameRate> rates;
    getAllFrameRates(rates);
    for (const FrameRate rate : rates)
    {
        const bool drops = rate == FR30M || rate == FR60M || rate == FR120M;
        EXPECT_EQ(droppedLabelsPerMinute(drop(rate)) != 0, drops) << rate;
        EXPECT_EQ(framesPerDay(drop(rate)) != 86400 * labelsPerSecond(rate), drops) << rate;
        EXPECT_EQ(labelOfFrame(1, drop(rate)).dropFrame != 0, drops) << rate;
    }
    expectLabelsOfADay(drop(FR24M), 0, 24 * 86400);
    expectLabelsOfADay({FR60M, false}, 0, 60 * 86400);
    EXPECT_EQ(lines.text(), "");
}

TEST(TimecodeLabel, daysFollowEachOther)
{
    const std::int64_t day = framesPerDay(drop(FR60M));
    EXPECT_EQ(shown(labelOfFrame(-1, drop(FR60M))), "23:59:59;59");
    EXPECT_EQ(shown(labelOfFrame(day, drop(FR60M))), "00:00:00;00");
    EXPECT_EQ(shown(labelOfFrame(1'000'000'000'000 * day + 3600, drop(FR60M))), "00:01:00;04");
    EXPECT_EQ(shown(labelOfFrame(-1, {FR240, false})), "23:59:59:239");
    EXPECT_EQ(labelOfFrame(5, {FR24D2, false}), tc_addr{});
}

TEST(TimecodeLabel, faultsAreNamed)
{
    const TCInf whole{FR25, false};
    const auto faultOf = [](const char* text, TCInf tcInf)
    {
        tc_addr label;
        return readLabel(text, tcInf, label);
    };
    EXPECT_EQ(faultOf("24:00:00:00", whole), LabelFault::NoHour);
    EXPECT_EQ(faultOf("00:60:00:00", whole), LabelFault::NoMinute);
    EXPECT_EQ(faultOf("00:00:60:00", whole), LabelFault::NoSecond);
    EXPECT_EQ(faultOf("00:00:00:25", whole), LabelFault::NoFrame);
    EXPECT_EQ(faultOf("00:01:00:01", drop(FR30M)), LabelFault::Dropped);
    EXPECT_EQ(faultOf("00:01:00;03", drop(FR60M)), LabelFault::Dropped);
    EXPECT_EQ(faultOf("00:01:00;01", {FR30M, false}), LabelFault::None);
    EXPECT_EQ(faultOf("00:10:00;01", drop(FR30M)), LabelFault::None);
    for (const FrameRate rate : {FR12_5, FR24D2, FR25F, FRInvalid, static_cast<FrameRate>(48)})
        EXPECT_EQ(faultOf("00:00:00:00", drop(rate)), LabelFault::NoRate) << rate;
    for (const char* text :
         {"", "0:00:00:00", "00:00:00:0", "00:00:00:0000", "00:00:00 00", "00;00:00:00", "-1:00:00:00"})
        EXPECT_EQ(faultOf(text, whole), LabelFault::NotALabel) << text;
    EXPECT_EQ(checkLabel({0, 0, 0, -1, 0}, whole), LabelFault::NoFrame);
    EXPECT_EQ(checkLabel({-1, 0, 0, 0, 0}, whole), LabelFault::NoHour);

    tc_addr label;
    EXPECT_EQ(readLabel("10:20:30:119", {FR120M, false}, label), LabelFault::None);
    EXPECT_EQ(shown(label), "10:20:30:119");
    EXPECT_EQ(shown({24, 0, 0, 0, 0}), "");
}
