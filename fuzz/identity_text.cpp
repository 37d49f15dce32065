#include "libmw/Text.h"
#include "misc/identity/Cookie.h"
#include "misc/identity/IdStamp.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

// Any text is read without harm as a cookie and as a stamp, and what was read prints as a text that reads back
// as the same.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t sizeBytes)
{
    const std::string text(reinterpret_cast<const char*>(data), sizeBytes);
    Cookie::isValid(text.c_str());
    const Cookie narrow(text.c_str(), true);
    const Cookie wide(fromUTF8(text.data(), static_cast<int>(text.size())), true);
    for (const Cookie& cookie : {narrow, wide})
        if (cookie.valid() && cookie.subType() < 100 && Cookie(cookie.asWString(), true) != cookie)
            std::abort();
    if (narrow.valid() && narrow.subType() < 100 && Cookie(narrow.asString(true).c_str(), true) != narrow)
        std::abort();

    const IdStamp stamp(text.c_str());
    const LightweightString<char> printed = stamp.asString();
    if (printed.empty() == stamp.valid() || printed.length() > 24 ||
        (stamp.valid() && IdStamp(printed.c_str()) != stamp))
        std::abort();
    return 0;
}
