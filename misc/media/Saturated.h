#pragma once

#include <cstdint>
#include <limits>

namespace Mw
{

// The int nearest to a count that was computed in 64 bits.
constexpr int saturatedInt(std::int64_t count)
{
    constexpr std::int64_t lowest = std::numeric_limits<int>::min();
    constexpr std::int64_t highest = std::numeric_limits<int>::max();
    return static_cast<int>(count < lowest ? lowest : count > highest ? highest : count);
}

} // namespace Mw
