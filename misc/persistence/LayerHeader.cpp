#include "misc/persistence/LayerHeader.h"

#include "Mw/CText.h"
#include "Mw/WordHash.h"
#include "misc/persistence/DynamicIntegralStorage.h"
#include "misc/persistence/Streamable.h"

#include <cstdint>

namespace
{

bool isBase(std::string_view name) noexcept
{
    return name == Streamable::shortLayerName() || name == Streamable::layerName();
}

// Names are mostly too short for a call.
bool sameName(const char* a, const char* b, std::size_t count) noexcept
{
    return count < sizeof(std::uint64_t) ? Mw::words::shortWord(a, count) == Mw::words::shortWord(b, count)
                                         : Mw::CText::same(a, b, count);
}

} // namespace

bool LayerHeader::read(PStream& stream)
{
    version_ = stream.version();
    if (!stream.file()->eof())
        nameRead_ = stream.file()->readText().substr(0, longestName);
    name = nameRead_;
    if (!readRev(stream, majorRev, "major") || !readRev(stream, minorRev, "minor"))
        return false;
    if (isBase(name))
    {
        version_ = majorRev;
        stream.version(version_);
        if (version_ != 1 && version_ != 2)
        {
            stream.append("Unrecognized version for Streamable base");
            return false;
        }
    }
    readSize(stream, layerSize);
    readSize(stream, hierarchySize);
    return true;
}

// The usual case, a header of the current generation that is in the cache whole. The zero behind the literal
// is compared as well.
bool LayerHeader::readCached(PStream& stream, std::string_view expectedName)
{
    const std::string_view cached = stream.file()->cached();
    const std::size_t nameBytes = expectedName.size() + 1;
    if (stream.version() != 2 || cached.size() < nameBytes + tailBytes ||
        !sameName(cached.data(), expectedName.data(), nameBytes))
        return false;
    name = expectedName;
    const char* const tail = cached.data() + nameBytes;
    majorRev = static_cast<unsigned char>(tail[0]);
    minorRev = static_cast<unsigned char>(tail[1]);
    layerSize = load(tail + 2);
    hierarchySize = load(tail + 6);
    stream.file()->passCached(nameBytes + tailBytes);
    return true;
}

bool LayerHeader::readRev(PStream& stream, unsigned& rev, const char* which)
{
    if (version_ != 1 && version_ != 2)
    {
        stream.append("Unrecognized version for Streamable base");
        return false;
    }
    if (stream.file()->eof())
        return true;
    if (version_ == 2)
    {
        unsigned char byte = 0;
        stream >> byte;
        rev = byte;
        return true;
    }
    DynamicIntegralStorage<unsigned char, unsigned short> stored;
    stored.unpack(stream);
    rev = stored.value();
    if (rev <= 0xFF)
        return true;
    stream.append(" Strm1.0 Object has oversized ");
    stream.append(which);
    stream.append(" rev (");
    stream.append(name);
    stream.append("). ");
    return false;
}

void LayerHeader::readSize(PStream& stream, unsigned& size) const
{
    if (stream.file()->eof())
        return;
    if (version_ == 2)
    {
        stream >> size;
        return;
    }
    DynamicIntegralStorage<unsigned short, unsigned> stored(size);
    stored.unpack(stream);
    size = stored.value();
}
