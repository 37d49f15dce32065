#pragma once

#include "bench/limits/limits.h"

#include <array>
#include <cstddef>

// The times that all sides print and read, spread over a day.

namespace bench::times
{

inline constexpr std::size_t count = 1024;
inline constexpr int stepFrames = 2003; // from one to the next; the last is below 24 hours
inline constexpr double ntscFps = 30 / 1.001;

// The frame number and, in the middle of it, the seconds of the nth time.
inline constexpr int frame(std::size_t n)
{
    return static_cast<int>(n) * stepFrames;
}
inline constexpr double seconds(std::size_t n, double fps)
{
    return (frame(n) + 0.5) / fps;
}

// "01:02:03:04" or, with drop frame, "01:02:03;04", of each of the times.
using Texts = std::array<std::array<char, plainTextBytes>, count>;
const Texts& texts(bool dropFrame);

// Gives 0, 1, ... and after the last 0 again.
class Cursor
{
public:
    std::size_t next()
    {
        n_ = (n_ + 1) % count;
        return n_;
    }

private:
    std::size_t n_ = 0;
};

} // namespace bench::times
