#include "media/AssertionLines.h"
#include "misc/media/ProjectRate.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <sstream>
#include <tuple>

using namespace Mw;

namespace
{

using Rates = std::vector<FrameRate>;

Rates allRates()
{
    Rates rates;
    getAllFrameRates(rates);
    return rates;
}

constexpr auto outside = static_cast<FrameRate>(48);

} // namespace

TEST(FrameRate, storedTextOfEachRateReadsBackAndOfNoneIsThatOf24)
{
    EXPECT_EQ(allRates().size(), 47u);
    for (const FrameRate rate : allRates())
        EXPECT_EQ(getFrameRateFromPersistableString(getPersistableString(rate)), rate);
    for (const FrameRate rate : {FRInvalid, outside, static_cast<FrameRate>(-1)})
    {
        AssertionLines lines;
        EXPECT_STREQ(getPersistableString(rate).c_str(), "24");
        EXPECT_TRUE(lines.text().starts_with("assertion failed rate == FR24 at misc/FrameRate line "));
    }
    for (const char* text : {"", "24m", "24 ", "24D4", "24 fps"})
        EXPECT_EQ(getFrameRateFromPersistableString(text), FRInvalid) << text;
}

TEST(FrameRate, displayTextReadsBackAsTheFirstRateThatShowsIt)
{
    Rates readBackAsAnother;
    AssertionLines lines;
    for (const FrameRate rate : allRates())
    {
        const auto text = getDisplayString(rate);
        if (text.empty())
            continue;
        const FrameRate read = getFrameRateFromDisplayString(text);
        EXPECT_LE(read, rate);
        EXPECT_EQ(getDisplayString(read), text);
        if (read != rate)
            readBackAsAnother.push_back(rate);
    }
    EXPECT_EQ(lines.text(), "");
    EXPECT_EQ(readBackAsAnother, (Rates{FR48D2, FR48MD2, FR50D2, FR60D2, FR60MD2, FR12, FR12M, FR12_5, FR15, FR20}));
}

TEST(FrameRate, filmRatesShowNothingAndNothingNamesNoRate)
{
    for (const FrameRate rate : {FRInvalid, FR24F, FR48F, outside})
        EXPECT_TRUE(getDisplayString(rate).empty());
    AssertionLines lines;
    EXPECT_EQ(getFrameRateFromDisplayString({}), FRInvalid);
    EXPECT_EQ(lines.text(), "assertion failed cr != FRInvalid at misc/FrameRate line 169\n");
    EXPECT_EQ(getFrameRateFromDisplayString(LightweightString<wchar_t>(3, L'\0')), FRInvalid);
}

TEST(FrameRate, framesPerSecondAndDuration)
{
    const std::tuple<FrameRate, double, double> table[] = {
        {FR24M, 24 / 1.001, 1.001 / 24}, {FR240, 240.0, 1.0 / 240}, {FR12_5, 12.5, 0.08}, {FR24MD2, 12.0, 0.0},
        {FR25D3, 25.0 / 3, 0.0},         {FRInvalid, 0.0, 0.0},     {outside, 0.0, 0.0},
    };
    AssertionLines lines;
    for (const auto& [rate, fps, duration] : table)
    {
        EXPECT_EQ(getFramesPerSecond(rate), fps) << rate;
        EXPECT_TRUE(playback_fps(rate) == fps && vid_fps(rate) == fps);
        EXPECT_EQ(getFrameDuration(rate), duration) << rate;
        EXPECT_EQ(getCelResolution(rate), duration) << rate;
    }
}

TEST(FrameRate, ratesWithoutTicksAssert)
{
    for (const FrameRate rate : allRates())
    {
        AssertionLines lines;
        const int ticks = getTicksPerSecond(rate);
        const bool decimatedOrFilm = rate >= FR24D2 && rate <= FR48F;
        EXPECT_EQ(lines.text().starts_with("assertion failed rateIsValid at misc/FrameRate line "), decimatedOrFilm);
        EXPECT_EQ(lines.text().starts_with("assertion failed rateIs12point5 at misc/ProjectRate line "),
                  rate == FR12_5);
        EXPECT_EQ(ticks, decimatedOrFilm ? 0 : rate == FR12_5 ? 15 : std::lround(getFramesPerSecond(rate)));
    }
}

TEST(FrameRate, decimatedRatesLeadBackToTheirOwn)
{
    for (const FrameRate rate : allRates())
    {
        Rates decimated;
        getDecimatedFrameRatesFor(rate, decimated);
        EXPECT_EQ(decimated.size(), rate <= FR60M ? 2u : 0u);
        for (const FrameRate of : decimated)
            EXPECT_EQ(getNonDecimatedFrameRate(of), rate);
    }
    EXPECT_EQ(getNonDecimatedFrameRate(FR12), FR12);
}

TEST(FrameRate, setsHoldNoDecimationsOf1001RatesAndNothingOutside)
{
    for (const FrameRate rate : allRates())
    {
        const bool decimated = isInFrameRateGroup(rate, FrameRateGroups::Decimated);
        const bool named = std::strchr(getPersistableString(rate).c_str(), 'M') != nullptr;
        EXPECT_EQ(has1001Factor(rate), named && !decimated) << rate;
    }
    for (const int value : {-1, 0, 64 + FR30M, 64 + FR25})
    {
        const auto rate = static_cast<FrameRate>(value);
        EXPECT_FALSE(has1001Factor(rate) || canUseDropFrameTimeCode(rate) || isAssociatedWith30FrameLabel(rate));
        EXPECT_FALSE(isInNTSCSet(rate) || isInPALSet(rate));
    }
    EXPECT_TRUE(isInNTSCSet(FR48MD3) && !isInNTSCSet(FR30D2));
    EXPECT_TRUE(isInPALSet(FR50D3) && !isInPALSet(FR25D2));
    EXPECT_TRUE(isAssociatedWith30FrameLabel(FR60M) && !isAssociatedWith30FrameLabel(FR120M));
}

TEST(FrameRate, groupsHoldTheirRatesAndNoOthers)
{
    using namespace FrameRateGroups;
    const std::pair<FrameRateGroup, std::size_t> sizes[] = {{Normal, 10},       {Decimated, 20}, {DecimatedBy2, 10},
                                                            {DecimatedBy3, 10}, {Film, 4},       {Others, 13}};
    for (const auto& [group, size] : sizes)
    {
        Rates rates, members;
        getFrameRates(group, rates);
        for (int value = -1; value != 60; ++value)
            if (isInFrameRateGroup(static_cast<FrameRate>(value), group))
                members.push_back(static_cast<FrameRate>(value));
        EXPECT_EQ(rates.size(), size);
        EXPECT_EQ(members, rates);
    }
    AssertionLines lines;
    Rates none;
    getFrameRates(static_cast<FrameRateGroup>(7), none);
    EXPECT_TRUE(none.empty() && !isInFrameRateGroup(FRInvalid, static_cast<FrameRateGroup>(0)));
    EXPECT_TRUE(lines.text().starts_with("assertion failed group == FrameRateGroups::Normal at "));
}

TEST(FrameRate, everyRateHasAProjectRate)
{
    const Rates projectRates = getProjectFrameRates();
    EXPECT_EQ(projectRates, (Rates{FR24, FR25, FR30, FR48, FR50, FR60}));
    for (const FrameRate rate : projectRates)
        EXPECT_EQ(getEquivalentProjectFrameRate(rate), rate);
    for (const FrameRate rate : {FRInvalid, FR24M, FR25D2, FR60MD3, FR25F, FR12M, FR20, outside})
        EXPECT_EQ(getEquivalentProjectFrameRate(rate), FR24) << rate;
    for (const FrameRate rate : {FR30M, FR15, FR15M, FR80, FR90, FR120, FR120M, FR240, FR240M})
        EXPECT_EQ(getEquivalentProjectFrameRate(rate), FR30) << rate;
    EXPECT_TRUE(getEquivalentProjectFrameRate(FR12_5) == FR25 && getEquivalentProjectFrameRate(FR100) == FR25);
}

TEST(FrameRate, gearing)
{
    // Of FR24, FR25, FR48, FR48M, FR50, FR60 and FR60M as the first rate.
    const std::pair<Rates, const char*> rows[] = {
        {{FR24, FR24M, FR25, FR30, FR30M}, "1 1 0.5 1 0.5 0.5 1 "},
        {{FR48, FR48M, FR50, FR60, FR60M}, "2 2 1 2 1 1 1 "},
        {{FR80, FR90}, "3 3 3 3 3 3 3 "},
        {{FR100}, "4 4 2 4 2 2 2 "},
        {{FR120, FR120M}, "5 4 2 4 2 2 2 "},
        {{FR240, FR240M}, "10 8 8 8 8 4 8 "},
        {{FRInvalid, FR24D2, FR24F, FR12, FR20, outside}, "1 1 1 1 1 1 1 "},
    };
    for (const auto& [seconds, expected] : rows)
        for (const FrameRate second : seconds)
        {
            std::ostringstream gearings;
            for (const FrameRate first : {FR24, FR25, FR48, FR48M, FR50, FR60, FR60M})
                gearings << getEditResolutionFrameGearing(first, second) << ' ';
            EXPECT_EQ(gearings.str(), expected) << second;
        }
}

TEST(ProjectRate, everyRateIsNearestToItsOwnFramesPerSecond)
{
    Rates rates;
    getFrameRates(FrameRateGroups::Normal, rates);
    getFrameRates(FrameRateGroups::Others, rates);
    for (const FrameRate rate : rates)
        EXPECT_EQ(getEquivalentMwFrameRate(getFramesPerSecond(rate)), rate);
}

TEST(ProjectRate, numbersBetweenAndBeyondTheRates)
{
    constexpr double infinity = std::numeric_limits<double>::infinity();
    const std::pair<double, FrameRate> table[] = {
        {29.97, FR30M}, {27.4, FR25},   {27.5, FR30M},  {70.0, FR60},   {70.001, FR80},
        {11.0, FR12M},  {241.0, FR240}, {1000.1, FR25}, {2000.0, FR25}, {infinity, currentProjectFrameRate()}};
    for (const auto& [fps, rate] : table)
        EXPECT_EQ(getEquivalentMwFrameRate(fps), rate) << fps;

    for (const double fps : {10.99, 241.01, 1000.0, -25.0, -infinity, std::nan("")})
    {
        AssertionLines lines;
        EXPECT_EQ(getEquivalentMwFrameRate(fps), FRInvalid) << fps;
        EXPECT_EQ(lines.text(), "assertion failed false at misc/ProjectRate line 457\n");
    }
}
