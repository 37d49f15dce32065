#include "misc/persistence/StreamableLayer.h"

#include "libmw/Text.h"
#include "misc/diagnostics/Log.h"
#include "misc/persistence/DynamicIntegralStorage.h"

#include <algorithm>
#include <cstdio>
#include <limits>

namespace
{

constexpr unsigned unknownSize = 0xFFFFFFFFu;
constexpr unsigned errorTextSize = 1024;

// The layer that is being unpacked on this thread, of the object that is innermost.
struct Unpacking
{
    const PStream* stream;
    std::uint64_t layerEnd;
    int depth;
    const Unpacking* outer;
};
[[gnu::tls_model("initial-exec")]] constinit thread_local const Unpacking* innermost = nullptr;

class UnpackingScope
{
public:
    UnpackingScope(const PStream& stream, std::uint64_t layerEnd) noexcept
        : unpacking_{&stream, layerEnd, innermost != nullptr ? innermost->depth + 1 : 1, innermost}
    {
        innermost = &unpacking_;
    }
    ~UnpackingScope() { innermost = unpacking_.outer; }
    UnpackingScope(const UnpackingScope&) = delete;
    UnpackingScope& operator=(const UnpackingScope&) = delete;

    int depth() const noexcept { return unpacking_.depth; }

private:
    Unpacking unpacking_;
};

// The bytes of a header behind the name, in the current format.
struct HeaderTail
{
    unsigned char bytes[10];

    HeaderTail(unsigned char majorRev, unsigned char minorRev, unsigned layerSize, unsigned hierarchySize) noexcept
    {
        bytes[0] = majorRev;
        bytes[1] = minorRev;
        for (unsigned i = 0; i < 4; ++i)
        {
            bytes[2 + i] = static_cast<unsigned char>(layerSize >> 8 * i);
            bytes[6 + i] = static_cast<unsigned char>(hierarchySize >> 8 * i);
        }
    }
};

unsigned littleEndian(const char* bytes) noexcept
{
    unsigned value = 0;
    for (unsigned i = 0; i < 4; ++i)
        value |= unsigned(static_cast<unsigned char>(bytes[i])) << 8 * i;
    return value;
}

// What stands before a layer's body. A part that the file's end cuts off keeps its first value.
class LayerHeader
{
public:
    // Reads it. False if its form isn't known, which is said in the stream.
    bool read(PStream& stream);

    // Valid until the file is asked for anything else.
    std::string_view name;
    unsigned majorRev = 0;
    unsigned minorRev = 0;
    unsigned layerSize = unknownSize;
    unsigned hierarchySize = unknownSize;

private:
    // The usual case: a header of the current format that is in the cache whole. False if it is none.
    bool readCached(PStream& stream);
    bool readRev(PStream& stream, unsigned& rev, const char* which);
    void readSize(PStream& stream, unsigned& size) const;
    bool isBase() const noexcept { return name == Streamable::shortLayerName() || name == Streamable::layerName(); }

    static constexpr std::size_t longestCachedName = 256;

    LightweightString<char> nameRead_;
    unsigned version_ = 0;
};

bool LayerHeader::read(PStream& stream)
{
    version_ = stream.version();
    if (readCached(stream))
        return true;
    if (!stream.file()->eof())
        stream >> nameRead_;
    name = nameRead_;
    if (!readRev(stream, majorRev, "major") || !readRev(stream, minorRev, "minor"))
        return false;
    if (isBase())
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

bool LayerHeader::readCached(PStream& stream)
{
    constexpr std::size_t tailBytes = sizeof(HeaderTail);
    const std::string_view cached = stream.file()->cached();
    const std::size_t length = cached.substr(0, longestCachedName).find('\0');
    if (length == cached.npos || cached.size() - length - 1 < tailBytes)
        return false;
    const char* const tail = cached.data() + length + 1;
    const unsigned major = static_cast<unsigned char>(tail[0]);
    const unsigned minor = static_cast<unsigned char>(tail[1]);
    name = cached.substr(0, length);
    // In the older format that number is an escape.
    const bool samePrefix = version_ == 2 || (version_ == 1 && major != 0xFF && minor != 0xFF);
    const unsigned version = isBase() ? major : version_;
    if (!samePrefix || version != 2)
        return false;
    stream.version(version);
    majorRev = major;
    minorRev = minor;
    layerSize = littleEndian(tail + 2);
    hierarchySize = littleEndian(tail + 6);
    stream.file()->passCached(length + 1 + tailBytes);
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

void appendWhereabouts(GrowString& text, const Streamable& object, std::string_view layerName)
{
    text.append(object.className());
    text.append(", layer ");
    text.append(layerName);
    text.append(".");
}

void warnOfUnreadData(const Streamable& object, std::string_view layerName, const LayerHeader& header,
                      std::uint64_t unreadBytes)
{
    LightweightString<char> line = "Warning: Not all object data was read while unpacking object ";
    line += object.className();
    line += ", layer ";
    line += layerName;
    line += " v";
    line += header.majorRev;
    line += '.';
    line += header.minorRev;
    line += ", ";
    line += static_cast<unsigned>(unreadBytes);
    line += '/';
    line += header.layerSize;
    line += " bytes unread.\n";
    LogString(line.c_str());
}

void reportOverread(PStream& stream, const Streamable& object, std::string_view layerName, const LayerHeader& header,
                    std::uint64_t overreadBytes)
{
    char text[errorTextSize];
    std::snprintf(text, sizeof text,
                  "Error: Unpacker read beyond end of chunk while unpacking object %s, layer %s v%u.%u, %llu bytes "
                  "overread.\n",
                  object.className().c_str(), layerName.data(), header.majorRev, header.minorRev,
                  static_cast<unsigned long long>(overreadBytes));
    stream.append(text);
}

void reportWrongLayer(PStream& stream, const StreamLayerNames& names, std::string_view found)
{
    stream.append("Expected short name '");
    stream.append(names.shortName);
    stream.append("' for layer ");
    stream.append(names.fullName);
    stream.append(", got ");
    stream.append(found);
    stream.append(".");
}

} // namespace

StreamStatus StreamableTraitsBase::packLayer(const Layer& layer, const Streamable& object, const void* self,
                                             PStream& stream, PackFunctionStack& stack)
{
    stack.front = stack.front->next;
    StreamFile& file = *stream.file();
    object.setRevs(1, 0);
    file.write(layer.names.shortName.data(), static_cast<unsigned>(layer.names.shortName.size()) + 1);
    const std::uint64_t tail = file.position();
    file.write(HeaderTail(1, 0, unknownSize, unknownSize).bytes, sizeof(HeaderTail));
    const std::uint64_t body = file.position();
    layer.pack(self, stream);
    const unsigned char majorRev = object.majorRev();
    const unsigned char minorRev = object.minorRev();
    const std::uint64_t layerSize = file.position() - body;
    if (stack.front != nullptr)
    {
        const StreamStatus status = stack.front->function(stack.front->object, stream, stack);
        if (status != eStreamPacked && status != eStreamUnpacked)
            return status;
    }
    const std::uint64_t end = file.position();
    if (end - body >= unknownSize)
    {
        stream.append("Too much data for one object while packing ");
        appendWhereabouts(stream, object, layer.names.fullName);
        return eStreamFailed;
    }
    // Of the whole header, which is written again, the name is the same.
    file.setPosition(tail);
    file.write(
        HeaderTail(majorRev, minorRev, static_cast<unsigned>(layerSize), static_cast<unsigned>(end - body)).bytes,
        sizeof(HeaderTail));
    file.setPosition(end);
    return stream.failed() ? eStreamFailed : eStreamPacked;
}

StreamStatus StreamableTraitsBase::unpackLayer(const Layer& layer, Streamable& object, void* self, PStream& stream)
{
    StreamFile& file = *stream.file();
    // The end of the record around this one: the layer before, or the object that this one is part of.
    std::uint64_t enclosingEnd = std::numeric_limits<std::uint64_t>::max();
    if (object.followingChunkSize_ != unknownSize)
        enclosingEnd = file.position() + object.followingChunkSize_;
    else if (innermost != nullptr && innermost->stream == &stream)
        enclosingEnd = innermost->layerEnd;

    LayerHeader header;
    if (!header.read(stream))
        return eStreamFailed;
    const std::uint64_t body = file.position();
    const std::uint64_t layerEnd = body + header.layerSize;
    const std::uint64_t hierarchyEnd = body + header.hierarchySize;
    if (std::max(layerEnd, hierarchyEnd) > file.size())
    {
        stream.append("Unexpected end-of-file while unpacking ");
        appendWhereabouts(stream, object, layer.names.fullName);
        return eStreamUnexpectedEOF;
    }
    object.unpackedHierarchyChunkSize_ = header.hierarchySize;
    const bool fits = layerEnd <= hierarchyEnd && hierarchyEnd <= enclosingEnd;
    const std::uint64_t objectEnd = std::min(hierarchyEnd, enclosingEnd);
    if (header.layerSize == 0 && fits)
    {
        object.followingChunkSize_ = header.hierarchySize;
        return eStreamUnpacked;
    }
    const bool unpacks = !stream.failed() && !header.name.empty();
    if (unpacks && header.name != layer.names.shortName && header.name != layer.names.fullName)
    {
        reportWrongLayer(stream, layer.names, header.name);
        file.setPosition(objectEnd);
        return eStreamWrongLayer;
    }
    if (!fits)
    {
        stream.append("Chunk sizes exceed the record around them while unpacking ");
        appendWhereabouts(stream, object, layer.names.fullName);
        file.setPosition(objectEnd);
        return eStreamFailed;
    }
    if (unpacks)
    {
        object.followingChunkSize_ = header.hierarchySize - header.layerSize;
        object.setRevs(header.majorRev, header.minorRev);
        const UnpackingScope scope(stream, layerEnd);
        if (scope.depth() <= maxDepth)
            layer.unpack(self, stream);
        else
        {
            stream.append("Objects are nested too deeply while unpacking ");
            appendWhereabouts(stream, object, layer.names.fullName);
        }
        if (stream.failed())
        {
            file.setPosition(objectEnd);
            return eStreamFailed;
        }
    }
    const std::uint64_t position = file.position();
    if (position < layerEnd)
    {
        warnOfUnreadData(object, layer.names.fullName, header, layerEnd - position);
        file.setPosition(layerEnd);
    }
    else if (position > layerEnd)
    {
        reportOverread(stream, object, layer.names.fullName, header, position - layerEnd);
        return eStreamFailed;
    }
    return eStreamUnpacked;
}
