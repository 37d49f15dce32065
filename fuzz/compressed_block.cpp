#include "misc/base/ByteBufferImpl.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

// Any bytes give a block or a reason, and a block of any bytes restores as them.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t sizeBytes)
{
    LightweightString<char> error;
    const ByteBuffer found = ByteBufferImpl::restored(data, sizeBytes, &error);
    if (static_cast<bool>(found) != error.empty() || (found && found->length() != found->capacity()))
        std::abort();
    const ByteBuffer block = ByteBufferImpl(data, sizeBytes).compressed();
    const ByteBuffer again = ByteBufferImpl::restored(block->data(), block->length());
    if (!again || again->length() != sizeBytes || std::memcmp(again->data(), data, sizeBytes) != 0)
        std::abort();
    return 0;
}
