#include "misc/diagnostics/Log.h"
#include "misc/settings/configb.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

// Any text makes a table, line by line, and a table that was read from text prints as a text that reads
// back as the same.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t sizeBytes)
{
    static std::FILE* const nowhere = std::fopen("/dev/null", "w");
    SetLogOutput(nowhere);
    const std::string text = "{\n" + std::string(reinterpret_cast<const char*>(data), sizeBytes);
    configb table;
    if (table.fromString(std::string_view(text)) != 1)
        std::abort();
    configb again;
    if (again.fromString(table.asString()) != 1 || again.asString() != table.asString())
        std::abort();
    return 0;
}
