#include "libmw/Text.h"
#include "misc/identity/Cookie.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

// Any text is read without harm, and what was read prints as a text that reads back as the same cookie.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t sizeBytes)
{
    const std::string text(reinterpret_cast<const char*>(data), sizeBytes);
    Cookie::isValid(text.c_str());
    const Cookie narrow(text.c_str(), true);
    const Cookie wide(fromUTF8(text.data(), static_cast<int>(text.size())), true);
    for (const Cookie& cookie : {narrow, wide})
    {
        const bool hasRoom = cookie.subType() < 100;
        if (cookie.valid() && hasRoom && Cookie(cookie.asWString(), true) != cookie)
            std::abort();
    }
    if (narrow.valid() && narrow.subType() < 100 && Cookie(narrow.asString(true).c_str(), true) != narrow)
        std::abort();
    return 0;
}
