#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

// What is made of the samples of one side of a case, and when a row has missed its aim.

namespace bench
{

struct Summary
{
    double medianNs = 0;
    double lowerQuartileNs = 0;
};

// The value below which `share` of the samples lie, interpolated between neighbours; 0 for no samples.
inline double quantile(std::vector<double> samples, double share)
{
    if (samples.empty())
        return 0;
    std::sort(samples.begin(), samples.end());
    const double place = share * static_cast<double>(samples.size() - 1);
    const auto below = static_cast<std::size_t>(place);
    const std::size_t above = std::min(below + 1, samples.size() - 1);
    return samples[below] + (samples[above] - samples[below]) * (place - static_cast<double>(below));
}

inline Summary summarise(const std::vector<double>& samplesNs)
{
    return {quantile(samplesNs, 0.5), quantile(samplesNs, 0.25)};
}

// How far above its aim a row may lie before it counts as missed: a tenth, and by half for two threads
// and for latencies, which depend on what else the processors do.
enum class Steadiness
{
    steady,
    unsteady
};

// Below this a clock tick of the processor is a large share; the difference is what counts.
constexpr double shortNs = 2.0;
constexpr double shortAllowanceNs = 0.2;

inline bool isAbove(double oursNs, double otherNs, double aim, Steadiness steadiness)
{
    const double factor = steadiness == Steadiness::steady ? 1.1 : 1.5;
    if (oursNs <= aim * otherNs * factor)
        return false;
    return oursNs >= shortNs || oursNs > aim * otherNs + shortAllowanceNs;
}

// A row misses when both its medians and its lower quartiles do: a machine that changes its speed during
// the run moves one of them, seldom both.
inline bool misses(const Summary& ours, const Summary& other, double aim, Steadiness steadiness)
{
    return isAbove(ours.medianNs, other.medianNs, aim, steadiness) &&
           isAbove(ours.lowerQuartileNs, other.lowerQuartileNs, aim, steadiness);
}

} // namespace bench
