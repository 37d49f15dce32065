#include "misc/diagnostics/Log.h"
#include "misc/persistence/PStream.h"
#include "misc/settings/configb.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

// Any bytes unpack to a table, at most as large as they are, that packs to bytes which unpack to the same.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t sizeBytes)
{
    static std::FILE* const nowhere = std::fopen("/dev/null", "w");
    SetLogOutput(nowhere);
    StreamFile file;
    file.write(data, static_cast<unsigned>(sizeBytes));
    file.setPosition(0);
    PStream stream(&file);
    const configb table(stream);
    StreamFile copy;
    PStream packed(&copy);
    table.pack(packed);
    copy.setPosition(0);
    const configb again(packed);
    if (copy.size() > sizeBytes + 4 || packed.failed() || again.asString() != table.asString())
        std::abort();
    return 0;
}
