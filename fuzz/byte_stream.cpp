#include "misc/persistence/ByteStream.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

// Whatever the bytes are, reading tokens comes to the end of them, and no token holds an unescaped delimiter
// or more characters than were read. The first byte says how they are read.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t sizeBytes)
{
    if (sizeBytes == 0)
        return 0;
    const bool strips = (data[0] & 1) != 0;
    const bool escapes = (data[0] & 2) != 0;
    GrowString text(std::string_view(reinterpret_cast<const char*>(data + 1), sizeBytes - 1));
    ByteStream in(text);
    in.setDelimiters(", \n");
    in.setStripComments(strips);
    in.setEscapeChar(escapes ? '\\' : '\0');
    std::size_t found = 0;
    for (GrowString token; !in.eof();)
    {
        const unsigned before = in.position();
        in >> token;
        found += token.length();
        if (in.position() == before && !in.eof())
            std::abort();
        if (!escapes && token.view().find_first_of(", \n") != std::string_view::npos)
            std::abort();
    }
    if (found > sizeBytes - 1)
        std::abort();
    return 0;
}
