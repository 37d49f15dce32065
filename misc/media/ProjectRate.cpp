#include "misc/media/ProjectRate.h"

#include "Mw/Assert.h"
#include "misc/media/CurrentProject.h"

#include <iterator>

namespace Mw
{

namespace
{

constexpr FrameRate ascendingRates[] = {FR12M, FR12,  FR12_5, FR15M,  FR15,  FR20,   FR24M, FR24,
                                        FR25,  FR30M, FR30,   FR48M,  FR48,  FR50,   FR60M, FR60,
                                        FR80,  FR90,  FR100,  FR120M, FR120, FR240M, FR240};

double lowestEquivalentFps()
{
    return getFramesPerSecond(FR24MD2) - 1.0;
}

// The end, itself included, of the band of numbers that mean the rate at `index`. The next band begins there.
double bandEnd(std::size_t index)
{
    const double fps = getFramesPerSecond(ascendingRates[index]);
    if (index + 1 == std::size(ascendingRates))
        return fps + 1.0;
    return (fps + getFramesPerSecond(ascendingRates[index + 1])) / 2.0;
}

} // namespace

FrameRate getEquivalentMwFrameRate(double fps)
{
    if (fps > 1000.0)
        return CurrentProject::getFrameRate();
    if (fps >= lowestEquivalentFps())
    {
        for (std::size_t i = 0; i != std::size(ascendingRates); ++i)
        {
            if (fps <= bandEnd(i))
                return ascendingRates[i];
        }
    }
    assertionFailed("false", "misc/ProjectRate line 457");
    return FRInvalid;
}

} // namespace Mw
