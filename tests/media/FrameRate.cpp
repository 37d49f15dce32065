#include "media/AssertionLines.h"
#include "misc/media/CurrentProject.h"
#include "misc/media/ProjectRate.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

using namespace Mw;
using namespace FrameRateGroups;

namespace
{

using Rates = std::vector<FrameRate>;

Rates allRates()
{
    Rates rates;
    getAllFrameRates(rates);
    return rates;
}

} // namespace

TEST(FrameRate, storedTextOfEachRateReadsBackAndOfNoneIsThatOf24)
{
    EXPECT_EQ(allRates().size(), 47u);
    for (const FrameRate rate : allRates())
        EXPECT_EQ(getFrameRateFromPersistableString(getPersistableString(rate)), rate);
    const AssertionLines lines;
    EXPECT_EQ(getPersistableString(static_cast<FrameRate>(48)), "24");
    for (const char* text : {"", "24m", "24 ", "24D4"})
        EXPECT_EQ(getFrameRateFromPersistableString(text), FRInvalid) << text;
}

TEST(FrameRate, displayTextReadsBackAsTheFirstRateThatShowsIt)
{
    Rates readBackAsAnother;
    AssertionLines lines;
    for (const FrameRate rate : allRates())
    {
        const auto text = getDisplayString(rate);
        const FrameRate read = text.empty() ? rate : getFrameRateFromDisplayString(text);
        EXPECT_LE(read, rate);
        EXPECT_EQ(getDisplayString(read), text);
        if (read != rate)
            readBackAsAnother.push_back(rate);
    }
    EXPECT_EQ(readBackAsAnother, (Rates{FR48D2, FR48MD2, FR50D2, FR60D2, FR60MD2, FR12, FR12M, FR12_5, FR15, FR20}));
    EXPECT_TRUE(getDisplayString(FR24F).empty() && lines.text().empty());
    EXPECT_EQ(getFrameRateFromDisplayString({}), FRInvalid);
    EXPECT_EQ(lines.text(), "assertion failed cr != FRInvalid at misc/FrameRate line 169\n");
}

// What one function says of a rate, another bears out.
TEST(FrameRate, propertiesOfEachRateAgree)
{
    const Rates projectRates = getProjectFrameRates();
    for (const FrameRateGroup group : {Normal, DecimatedBy2, DecimatedBy3, Film, Others})
    {
        Rates rates;
        getFrameRates(group, rates);
        for (const FrameRate rate : allRates())
            EXPECT_EQ(isInFrameRateGroup(rate, group), std::count(rates.begin(), rates.end(), rate) == 1) << rate;
    }
    for (const FrameRate rate : allRates())
    {
        const double fps = getFramesPerSecond(rate);
        EXPECT_TRUE(playback_fps(rate) == fps && vid_fps(rate) == fps);
        AssertionLines lines;
        const bool isDecimated = isInFrameRateGroup(rate, Decimated);
        const bool hasTicks = !isDecimated && !isInFrameRateGroup(rate, Film);
        EXPECT_EQ(getTicksPerSecond(rate), !hasTicks ? 0 : rate == FR12_5 ? 15 : std::lround(fps));
        EXPECT_EQ(lines.text().starts_with("assertion failed rateIsValid at misc/FrameRate line "), !hasTicks);
        EXPECT_EQ(lines.text().starts_with("assertion failed rateIs12point5 at misc/ProjectRate line "),
                  rate == FR12_5);
        EXPECT_DOUBLE_EQ(getFrameDuration(rate) * fps, hasTicks ? 1.0 : 0.0) << rate;
        EXPECT_EQ(has1001Factor(rate), std::strchr(getPersistableString(rate).c_str(), 'M') && !isDecimated) << rate;

        const FrameRate project = getEquivalentProjectFrameRate(rate);
        EXPECT_EQ(std::count(projectRates.begin(), projectRates.end(), project), 1) << rate;
        EXPECT_EQ(getEquivalentProjectFrameRate(project), project);
        EXPECT_GT(getEditResolutionFrameGearing(project, rate), 0.0);

        Rates decimated;
        getDecimatedFrameRatesFor(rate, decimated);
        EXPECT_EQ(decimated.size(), rate <= FR60M ? 2u : 0u);
        for (const FrameRate of : decimated)
            EXPECT_EQ(getNonDecimatedFrameRate(of), rate);
    }
}

TEST(FrameRate, oddities)
{
    EXPECT_EQ(getEditResolutionFrameGearing(FR60, FR24), 0.5);
    EXPECT_EQ(getEditResolutionFrameGearing(FR60M, FR24), 1.0) << "not the half, as the other high rates";
    EXPECT_TRUE(isInNTSCSet(FR48MD3) && !isInNTSCSet(FR30D2) && isInPALSet(FR50D3) && !isInPALSet(FR25D2));
    EXPECT_TRUE(isAssociatedWith30FrameLabel(FR60M) && !isAssociatedWith30FrameLabel(FR120M));
    for (const int value : {-1, 64 + FR30M, 64 + FR25}) // beyond the masks
    {
        const auto rate = static_cast<FrameRate>(value);
        EXPECT_FALSE(has1001Factor(rate) || isInNTSCSet(rate) || isInPALSet(rate));
    }
}

TEST(ProjectRate, isTheNearestOfANumber)
{
    Rates rates;
    getFrameRates(Normal, rates);
    getFrameRates(Others, rates);
    for (const FrameRate rate : rates)
        EXPECT_EQ(getEquivalentMwFrameRate(getFramesPerSecond(rate)), rate);

    CurrentProject::setFrameRate(FR48, false);
    constexpr double infinity = std::numeric_limits<double>::infinity();
    const std::pair<double, FrameRate> table[] = {{29.97, FR30M}, {27.4, FR25},   {27.5, FR30M},    {70.0, FR60},
                                                  {11.0, FR12M},  {241.0, FR240}, {infinity, FR48}, {1000.1, FR48}};
    for (const auto& [fps, rate] : table)
        EXPECT_EQ(getEquivalentMwFrameRate(fps), rate) << fps;
    for (const double fps : {10.99, 241.01, 1000.0, -infinity, std::nan("")})
    {
        AssertionLines lines;
        EXPECT_EQ(getEquivalentMwFrameRate(fps), FRInvalid) << fps;
        EXPECT_EQ(lines.text(), "assertion failed false at misc/ProjectRate line 457\n");
    }
}
