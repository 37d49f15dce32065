#include "misc/media/Timecode.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

// A text is read exactly where sscanf reads five fields, numbers that fit its ints give the same time, and
// a time of less than a day prints as a text that reads back as the same frame.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t sizeBytes)
{
    const std::string text(reinterpret_cast<const char*>(data), sizeBytes);
    isTimecodeStringDropFrame(text.c_str());
    const double seconds = string_to_tc(text.c_str(), Mw::FR25, false);

    long h = 0, m = 0, s = 0, f = 0; // %ld saturates at 64 bits where %d would be undefined
    char separator = 0;
    const bool negative = std::sscanf(text.c_str(), "-%ld:%ld:%ld%c%ld", &h, &m, &s, &separator, &f) == 5;
    if (!negative && std::sscanf(text.c_str(), "%ld:%ld:%ld%c%ld", &h, &m, &s, &separator, &f) != 5)
        return seconds == 0.0 ? 0 : (std::abort(), 1);
    for (long* number : {&h, &m, &s, &f})
        *number = Mw::saturatedInt(*number);
    const double counted = static_cast<double>(((h * 60 + m) * 60 + s) * 25 + f) / 25.0;
    if (seconds != (negative ? -counted : counted))
        std::abort();

    char buffer[longestTimecodeBytes];
    tc_to_string(seconds, buffer, TC_SHOW_ALL, Mw::FR25, false);
    if (std::fabs(seconds) < 86400.0 && std::fabs(string_to_tc(buffer, Mw::FR25, false) - seconds) > 0.001)
        std::abort();
    return 0;
}
