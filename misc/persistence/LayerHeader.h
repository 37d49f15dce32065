#pragma once

#include "Mw/LightweightString.h"
#include "OS/Export.h"
#include "misc/persistence/PStream.h"

#include <bit>
#include <cstddef>
#include <cstring>
#include <string_view>

// What stands before a layer's body in a stored object, in either generation of the format
// (docs/formats.md). It is read without any knowledge of the class; nothing of it is checked against the
// bytes that follow. One thread at a time.
class MISC_API LayerHeader
{
public:
    // What a size is before it was read, and in an object whose writer failed: no layer is as large.
    static constexpr unsigned unknownSize = 0xFFFFFFFFu;
    // Revs and sizes in the current generation.
    static constexpr std::size_t tailBytes = 10;
    // Of a longer name only so many characters are read.
    static constexpr std::size_t longestName = 4096;

    LayerHeader() = default;
    LayerHeader(const LayerHeader&) = delete;
    LayerHeader& operator=(const LayerHeader&) = delete;

    // Reads the header at the stream's position, and leaves the stream at the body. The first layer of an
    // object tells the stream's version, by which this and the following headers are read. What the file's
    // end cuts off keeps its first value. False, with the reason in the stream, if the form isn't known.
    bool read(PStream& stream);
    // The same where the header is probably that of a layer `expectedName`, which is a literal, and not of an
    // object's first layer.
    bool read(PStream& stream, std::string_view expectedName)
    {
        return readCached(stream, expectedName) || read(stream);
    }

    // A number of 32 bits as it is stored.
    static unsigned load(const char* bytes) noexcept
    {
        const auto at = [bytes](unsigned i) { return unsigned(static_cast<unsigned char>(bytes[i])) << 8 * i; };
        return at(0) | at(1) | at(2) | at(3);
    }

    static void store(unsigned char* bytes, unsigned number) noexcept
    {
        if constexpr (std::endian::native == std::endian::little)
            std::memcpy(bytes, &number, sizeof number);
        else
            for (unsigned i = 0; i < 4; ++i)
                bytes[i] = static_cast<unsigned char>(number >> 8 * i);
    }

    std::string_view name; // lives with the header
    unsigned majorRev = 0;
    unsigned minorRev = 0;
    unsigned layerSize = unknownSize;
    unsigned hierarchySize = unknownSize;

private:
    bool readCached(PStream& stream, std::string_view expectedName);
    bool readRev(PStream& stream, unsigned& rev, const char* which);
    void readSize(PStream& stream, unsigned& size) const;

    LightweightString<char> nameRead_;
    unsigned version_ = 0;
};
