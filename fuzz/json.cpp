#include "misc/text/JSON.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>

// Any bytes give a tree or none, and a reason where reading stopped. The buffer is of just their size.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t sizeBytes)
{
    const std::unique_ptr<char[]> text(new char[sizeBytes]);
    std::copy(data, data + sizeBytes, text.get());
    const JSON::Parser parser(text.get(), static_cast<unsigned>(sizeBytes));
    const JSON::Failure failure = parser.failure();
    if (failure.reason.empty() != (!parser.failed() && parser.result()))
        std::abort();
    return 0;
}
