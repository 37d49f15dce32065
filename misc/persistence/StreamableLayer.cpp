#include "misc/persistence/StreamableLayer.h"

#include "Mw/CText.h"
#include "libmw/Text.h"
#include "misc/diagnostics/Log.h"
#include "misc/persistence/LayerHeader.h"

#include <algorithm>
#include <cstdio>
#include <limits>

namespace
{

constexpr unsigned unknownSize = LayerHeader::unknownSize;
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

// Where the record ends that is around one at the stream's position: that of the object which this one is
// part of.
std::uint64_t enclosingEnd(const PStream& stream) noexcept
{
    return innermost != nullptr && innermost->stream == &stream ? innermost->layerEnd
                                                                : std::numeric_limits<std::uint64_t>::max();
}

void putHeaderTail(unsigned char* to, unsigned char majorRev, unsigned char minorRev, unsigned layerSize,
                   unsigned hierarchySize)
{
    to[0] = majorRev;
    to[1] = minorRev;
    LayerHeader::store(to + 2, layerSize);
    LayerHeader::store(to + 6, hierarchySize);
}

// Writes the name and what is known of the rest before the body is. Gives where the rest is.
std::uint64_t beginHeader(StreamFile& file, std::string_view name)
{
    const std::size_t nameBytes = name.size() + 1;
    unsigned char* const header = file.claim(static_cast<unsigned>(nameBytes + LayerHeader::tailBytes));
    Mw::CText::move(reinterpret_cast<char*>(header), name.data(), nameBytes);
    putHeaderTail(header + nameBytes, 1, 0, unknownSize, unknownSize);
    return file.position() - LayerHeader::tailBytes;
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
    const std::uint64_t tail = beginHeader(file, layer.names.shortName);
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
    unsigned char bytes[LayerHeader::tailBytes];
    unsigned char* const cached = file.written(tail, sizeof bytes);
    putHeaderTail(cached != nullptr ? cached : bytes, majorRev, minorRev, static_cast<unsigned>(layerSize),
                  static_cast<unsigned>(end - body));
    if (cached == nullptr)
    {
        file.setPosition(tail);
        file.write(bytes, sizeof bytes);
        file.setPosition(end);
    }
    return stream.failed() ? eStreamFailed : eStreamPacked;
}

StreamStatus StreamableTraitsBase::unpackLayer(const Layer& layer, Streamable& object, void* self, PStream& stream)
{
    StreamFile& file = *stream.file();
    const bool isFirst = object.followingChunkSize_ == unknownSize;
    const std::uint64_t aroundEnd = isFirst ? enclosingEnd(stream) : file.position() + object.followingChunkSize_;
    LayerHeader header;
    if (!(isFirst ? header.read(stream) : header.read(stream, layer.names.shortName)))
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
    // All layers of an object end together.
    const bool fits = layerEnd <= hierarchyEnd && (isFirst ? hierarchyEnd <= aroundEnd : hierarchyEnd == aroundEnd);
    const std::uint64_t objectEnd = std::min(hierarchyEnd, aroundEnd);
    if (header.layerSize == 0 && fits)
    {
        object.followingChunkSize_ = header.hierarchySize;
        object.isLayerMissing_ = object.isLayerMissing_ || header.name.empty();
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
        stream.append("Chunk sizes do not fit the record around them while unpacking ");
        appendWhereabouts(stream, object, layer.names.fullName);
        file.setPosition(objectEnd);
        return eStreamFailed;
    }
    object.followingChunkSize_ = header.hierarchySize - header.layerSize;
    if (unpacks)
    {
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
    else
        object.isLayerMissing_ = true;
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

bool StreamableTraitsBase::peekUsualObject(const PStream& stream, UsualObject& object)
{
    constexpr unsigned prefix = '$' | 2 << 16; // "$", rev 2.0
    constexpr std::size_t headerBytes = sizeof prefix + 8;
    StreamFile& file = *stream.file();
    const std::string_view cached = file.cached();
    if (stream.failed() || cached.size() < headerBytes || LayerHeader::load(cached.data()) != prefix ||
        (stream.version() != 1 && stream.version() != 2))
        return false;
    const unsigned layerSize = LayerHeader::load(cached.data() + sizeof prefix);
    const unsigned hierarchySize = LayerHeader::load(cached.data() + sizeof prefix + 4);
    const std::uint64_t body = file.position() + headerBytes;
    if (layerSize == 0 || layerSize > hierarchySize || layerSize > cached.size() - headerBytes ||
        body + hierarchySize > std::min(file.size(), enclosingEnd(stream)))
        return false;
    object.hierarchyName = cached.substr(headerBytes, layerSize - 1);
    object.layerBytes = static_cast<unsigned>(headerBytes + layerSize);
    object.followingBytes = hierarchySize - layerSize;
    return cached[headerBytes + layerSize - 1] == '\0';
}
