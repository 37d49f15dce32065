#include "misc/media/FrameRate.h"

#include "Mw/Assert.h"

#include <array>
#include <cstring>
#include <cwchar>
#include <initializer_list>

namespace Mw
{

namespace
{

struct Row
{
    const char* persistable;
    const wchar_t* display;
    std::uint8_t ticks;
};

// By enumerator. The display texts of FR30MD2 and FR50D3 are what stored projects and users know; they
// stay, though FR15M reads "14.99 fps" and a third of 50 is 16.67.
constexpr Row rows[] = {
    {"", L"", 0},
    {"24", L"24 fps", 24},
    {"24M", L"23.98 fps", 24},
    {"25", L"25 fps", 25},
    {"30", L"30 fps", 30},
    {"30M", L"29.97 fps", 30},
    {"48", L"48 fps", 48},
    {"48M", L"47.95 fps", 48},
    {"50", L"50 fps", 50},
    {"60", L"60 fps", 60},
    {"60M", L"59.94 fps", 60},
    {"24D2", L"12 fps", 0},
    {"24MD2", L"11.99 fps", 0},
    {"25D2", L"12.5 fps", 0},
    {"30D2", L"15 fps", 0},
    {"30MD2", L"14.98 fps", 0},
    {"48D2", L"24 fps", 0},
    {"48MD2", L"23.98 fps", 0},
    {"50D2", L"25 fps", 0},
    {"60D2", L"30 fps", 0},
    {"60MD2", L"29.97 fps", 0},
    {"24D3", L"8 fps", 0},
    {"24MD3", L"7.99 fps", 0},
    {"25D3", L"8.33 fps", 0},
    {"30D3", L"10 fps", 0},
    {"30MD3", L"9.99 fps", 0},
    {"48D3", L"16 fps", 0},
    {"48MD3", L"15.98 fps", 0},
    {"50D3", L"15.67 fps", 0},
    {"60D3", L"20 fps", 0},
    {"60MD3", L"19.98 fps", 0},
    {"24F", L"", 0},
    {"25F", L"", 0},
    {"30F", L"", 0},
    {"48F", L"", 0},
    {"12", L"12 fps", 12},
    {"12M", L"11.99 fps", 12},
    {"12.5", L"12.5 fps", 0},
    {"15", L"15 fps", 15},
    {"15M", L"14.99 fps", 15},
    {"20", L"20 fps", 20},
    {"80", L"80 fps", 80},
    {"90", L"90 fps", 90},
    {"100", L"100 fps", 100},
    {"120", L"120 fps", 120},
    {"120M", L"119.88 fps", 120},
    {"240", L"240 fps", 240},
    {"240M", L"239.76 fps", 240},
};

constexpr FrameRate lastRate = FR240M;
static_assert(sizeof rows / sizeof rows[0] == lastRate + 1);

constexpr bool isRate(FrameRate rate)
{
    return rate >= FR24 && rate <= lastRate;
}

constexpr const Row& rowOf(FrameRate rate)
{
    return rows[isRate(rate) ? rate : FRInvalid];
}

constexpr FrameRate rateAt(int value)
{
    return static_cast<FrameRate>(value);
}

// A set of rates, one bit for each enumerator.
class RateSet
{
public:
    constexpr RateSet(std::initializer_list<FrameRate> rates)
    {
        for (const FrameRate rate : rates)
            bits_ |= std::uint64_t{1} << rate;
    }

    constexpr bool contains(FrameRate rate) const { return isRate(rate) && (bits_ >> rate & 1) != 0; }

private:
    std::uint64_t bits_ = 0;
};

constexpr RateSet ratesWith1001Factor{FR24M, FR30M, FR48M, FR60M, FR12M, FR15M, FR120M, FR240M};
constexpr RateSet ntscRates{FR30, FR30M, FR60, FR60M, FR48D3, FR48MD3, FR120, FR120M, FR240, FR240M};
constexpr RateSet palRates{FR25, FR50, FR50D3, FR100};
constexpr RateSet ratesWith30FrameLabels{FR30, FR30M, FR60, FR60M};

constexpr bool isIn(FrameRate rate, FrameRateExtents extents)
{
    return isRate(rate) && rate >= extents.first && rate <= extents.last;
}

constexpr FrameRateExtents normalRates{FR24, FR60M};
constexpr FrameRateExtents ratesDecimatedBy2{FR24D2, FR60MD2};
constexpr FrameRateExtents ratesDecimatedBy3{FR24D3, FR60MD3};
constexpr int by2Offset = FR24D2 - FR24;
constexpr int by3Offset = FR24D3 - FR24;

constexpr FrameRate nonDecimated(FrameRate rate)
{
    if (isIn(rate, ratesDecimatedBy2))
        return rateAt(rate - by2Offset);
    if (isIn(rate, ratesDecimatedBy3))
        return rateAt(rate - by3Offset);
    return rate;
}

// A decimated rate is a fraction of whole ticks, whatever it leaves frames out of.
constexpr double framesPerSecondOf(FrameRate rate)
{
    if (rate == FR12_5)
        return 12.5;
    const double ticks = rowOf(nonDecimated(rate)).ticks;
    if (ratesWith1001Factor.contains(rate))
        return ticks / 1.001;
    if (isIn(rate, ratesDecimatedBy2))
        return ticks / 2.0;
    if (isIn(rate, ratesDecimatedBy3))
        return ticks / 3.0;
    return ticks;
}

// By enumerator, so that no text and no time waits for a division.
constexpr auto framesPerSecond = []
{
    std::array<double, lastRate + 1> table{};
    for (int rate = FR24; rate <= lastRate; ++rate)
        table[static_cast<std::size_t>(rate)] = framesPerSecondOf(rateAt(rate));
    return table;
}();

void appendRates(FrameRateExtents extents, std::vector<FrameRate>& rates)
{
    if (extents.first == FRInvalid)
        return;
    for (int rate = extents.first; rate <= extents.last; ++rate)
        rates.push_back(rateAt(rate));
}

} // namespace

LightweightString<wchar_t> getDisplayString(FrameRate rate)
{
    return rowOf(rate).display;
}

FrameRate getFrameRateFromDisplayString(const LightweightString<wchar_t>& text)
{
    FrameRate cr = FRInvalid;
    for (int rate = FR24; rate <= lastRate && cr == FRInvalid; ++rate)
    {
        const wchar_t* const display = rows[rate].display;
        if (*display != 0 && std::wcscmp(text.c_str(), display) == 0)
            cr = rateAt(rate);
    }
    MW_ASSERT_AT(cr != FRInvalid, "misc/FrameRate line 169");
    return cr;
}

LightweightString<char> getPersistableString(FrameRate rate)
{
    if (rate != FR24 && isRate(rate))
        return rows[rate].persistable;
    MW_ASSERT(rate == FR24);
    return rows[FR24].persistable;
}

FrameRate getFrameRateFromPersistableString(const LightweightString<char>& text)
{
    for (int rate = FR24; rate <= lastRate; ++rate)
    {
        if (std::strcmp(text.c_str(), rows[rate].persistable) == 0)
            return rateAt(rate);
    }
    return FRInvalid;
}

std::uint8_t getTicksPerSecond(FrameRate rate)
{
    if (rate == FR12_5)
    {
        // Logs name the module that this one was part of.
        assertionFailed("rateIs12point5", "misc/ProjectRate.cpp", __LINE__);
        return 15;
    }
    const std::uint8_t ticks = rowOf(rate).ticks;
    const bool rateIsValid = ticks != 0;
    MW_ASSERT(rateIsValid);
    return ticks;
}

double getFramesPerSecond(FrameRate rate)
{
    const double fps = framesPerSecond[static_cast<std::size_t>(isRate(rate) ? rate : FRInvalid)];
    const bool rateIsValid = fps != 0.0;
    MW_ASSERT(rateIsValid);
    return fps;
}

double getFrameDuration(FrameRate rate)
{
    if (rate == FR12_5)
        return 0.08;
    const std::uint8_t ticks = getTicksPerSecond(rate);
    if (ticks == 0)
        return 0.0;
    return (has1001Factor(rate) ? 1.001 : 1.0) / ticks;
}

double getCelResolution(FrameRate rate)
{
    return getFrameDuration(rate);
}

FrameRate getNonDecimatedFrameRate(FrameRate rate)
{
    return nonDecimated(rate);
}

bool has1001Factor(FrameRate rate)
{
    return ratesWith1001Factor.contains(rate);
}

bool canUseDropFrameTimeCode(FrameRate rate)
{
    return has1001Factor(rate);
}

bool isAssociatedWith30FrameLabel(FrameRate rate)
{
    return ratesWith30FrameLabels.contains(rate);
}

bool isInNTSCSet(FrameRate rate)
{
    return ntscRates.contains(rate);
}

bool isInPALSet(FrameRate rate)
{
    return palRates.contains(rate);
}

FrameRate getEquivalentProjectFrameRate(FrameRate rate)
{
    switch (rate)
    {
    case FR25:
    case FR12_5:
    case FR100:
        return FR25;
    case FR30:
    case FR30M:
    case FR15:
    case FR15M:
    case FR80:
    case FR90:
    case FR120:
    case FR120M:
    case FR240:
    case FR240M:
        return FR30;
    case FR48:
    case FR48M:
        return FR48;
    case FR50:
        return FR50;
    case FR60:
    case FR60M:
        return FR60;
    default:
        return FR24;
    }
}

FrameRateExtents getFrameRateGroupExtents(FrameRateGroups::FrameRateGroup group)
{
    switch (group)
    {
    case FrameRateGroups::Normal:
        return normalRates;
    case FrameRateGroups::Decimated:
        return {ratesDecimatedBy2.first, ratesDecimatedBy3.last};
    case FrameRateGroups::DecimatedBy2:
        return ratesDecimatedBy2;
    case FrameRateGroups::DecimatedBy3:
        return ratesDecimatedBy3;
    case FrameRateGroups::Film:
        return {FR24F, FR48F};
    case FrameRateGroups::Others:
        return {FR12, lastRate};
    }
    MW_ASSERT(group == FrameRateGroups::Normal);
    return {FRInvalid, FRInvalid};
}

bool isInFrameRateGroup(FrameRate rate, FrameRateGroups::FrameRateGroup group)
{
    return isIn(rate, getFrameRateGroupExtents(group));
}

void getFrameRates(FrameRateGroups::FrameRateGroup group, std::vector<FrameRate>& rates)
{
    appendRates(getFrameRateGroupExtents(group), rates);
}

void getAllFrameRates(std::vector<FrameRate>& rates)
{
    appendRates({FR24, lastRate}, rates);
}

void getDecimatedFrameRatesFor(FrameRate rate, std::vector<FrameRate>& rates)
{
    if (!isIn(rate, normalRates))
        return;
    rates.push_back(rateAt(rate + by2Offset));
    rates.push_back(rateAt(rate + by3Offset));
}

std::vector<FrameRate> getProjectFrameRates()
{
    return {FR24, FR25, FR30, FR48, FR50, FR60};
}

double getEditResolutionFrameGearing(FrameRate first, FrameRate second)
{
    const bool firstIsHigh = first == FR48 || first == FR50 || first == FR60 || first == FR60M;
    switch (second)
    {
    case FR24:
    case FR24M:
    case FR25:
    case FR30:
    case FR30M:
        return firstIsHigh && first != FR60M ? 0.5 : 1.0;
    case FR48:
    case FR48M:
    case FR50:
    case FR60:
    case FR60M:
        return firstIsHigh ? 1.0 : 2.0;
    case FR80:
    case FR90:
        return 3.0;
    case FR100:
        return firstIsHigh ? 2.0 : 4.0;
    case FR120:
    case FR120M:
        return firstIsHigh ? 2.0 : first == FR24 ? 5.0 : 4.0;
    case FR240:
    case FR240M:
        return first == FR24 ? 10.0 : first == FR60 ? 4.0 : 8.0;
    default:
        return 1.0;
    }
}

} // namespace Mw

double playback_fps(Mw::FrameRate rate)
{
    return Mw::getFramesPerSecond(rate);
}

double vid_fps(Mw::FrameRate rate)
{
    return Mw::getFramesPerSecond(rate);
}
