#include "misc/identity/IdStamp.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

// Any text is read without harm, and what was read prints as a text that reads back as the same stamp.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t sizeBytes)
{
    const std::string text(reinterpret_cast<const char*>(data), sizeBytes);
    const IdStamp stamp(text.c_str());
    const LightweightString<char> printed = stamp.asString();
    if (printed.empty() == stamp.valid() || printed.length() > 24)
        std::abort();
    if (stamp.valid() && IdStamp(printed.c_str()) != stamp)
        std::abort();
    return 0;
}
