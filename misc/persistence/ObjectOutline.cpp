#include "misc/persistence/ObjectOutline.h"

#include "misc/identity/IdStamp.h"
#include "misc/persistence/StreamFile.h"

#include <algorithm>
#include <string_view>

namespace
{

using Text = LightweightString<char>;

// Longer texts in headers and ids are taken for damage.
constexpr std::uint64_t longestTextBytes = 4096;
// Enough for the header of most layers.
constexpr std::uint64_t headerBytes = 512;

// The text at the file's position, which is passed; valid until the file is asked for more. False if it has no
// end before `end`.
bool readText(StreamFile& file, std::uint64_t end, std::string_view& text)
{
    if (file.position() >= end)
        return false;
    const std::uint64_t longest = std::min(end - file.position(), longestTextBytes);
    if (file.cached().size() < longest)
        file.cacheForward(file.position() + longest);
    const std::string_view cached = file.cached().substr(0, longest);
    const std::size_t length = cached.find('\0');
    if (length == cached.npos)
        return false;
    text = cached.substr(0, length);
    file.passCached(length + 1);
    return true;
}

bool readText(StreamFile& file, std::uint64_t end, Text& text)
{
    std::string_view read;
    const bool isText = readText(file, end, read);
    text = read;
    return isText;
}

template <class Stored>
bool readNumber(StreamFile& file, unsigned& value)
{
    Stored stored = 0;
    const bool read = file.get(stored);
    value = stored;
    return read;
}

// In the older format a number of all ones is an escape for one of twice the width.
bool readRev(StreamFile& file, unsigned version, unsigned& value)
{
    return readNumber<unsigned char>(file, value) &&
           (version != 1 || value != 0xFF || readNumber<unsigned short>(file, value));
}

bool readSize(StreamFile& file, unsigned version, unsigned& value)
{
    if (version != 1)
        return readNumber<unsigned>(file, value);
    return readNumber<unsigned short>(file, value) && (value != 0xFFFF || readNumber<unsigned>(file, value));
}

bool isBase(std::string_view name)
{
    return name == "$" || name == "Streamable";
}

bool isTaggable(std::string_view name)
{
    return name == "T" || name == "Taggable";
}

} // namespace

// What stands before a layer's body.
struct ObjectOutline::Record
{
    // Reads the record at `position`. Null if it is one that ends no later than `end`, else what is wrong.
    const char* read(StreamFile& file, std::uint64_t position, std::uint64_t end, bool isFirst, unsigned& version);

    std::string_view name;
    unsigned majorRev = 0;
    unsigned minorRev = 0;
    unsigned bodyBytes = 0;
    unsigned hierarchyBytes = 0;
    std::uint64_t body = 0;
};

const char* ObjectOutline::Record::read(StreamFile& file, std::uint64_t position, std::uint64_t end, bool isFirst,
                                        unsigned& version)
{
    file.setPosition(position);
    if (file.cached().size() < headerBytes)
        file.cacheForward(position + headerBytes);
    if (!readText(file, end, name) || name.empty() || isFirst != isBase(name) || !readRev(file, version, majorRev))
        return isFirst ? "no object begins here" : "a layer has no header";
    if (isFirst)
        version = majorRev;
    if (version != 1 && version != 2)
        return "its format is unknown";
    if (!readRev(file, version, minorRev) || !readSize(file, version, bodyBytes) ||
        !readSize(file, version, hierarchyBytes))
        return "it ends early";
    body = file.position();
    if (body > end || hierarchyBytes > end - body)
        return isFirst ? "it is longer than the file" : "a layer is longer than the object";
    if (!isFirst && hierarchyBytes != end - body)
        return "a layer does not end where the object does";
    return bodyBytes <= hierarchyBytes ? nullptr : "a layer is longer than the object";
}

ObjectOutline::ObjectOutline(StreamFile& file, std::uint64_t position) : position_(position)
{
    std::uint64_t end = file.size();
    const bool hasHeader = readLayer(file, position, end);
    length_ = end - position_;
    if (!hasHeader)
        return;
    while (position != end)
        if (!readLayer(file, position, end))
            return;
    if (!isOfItsHierarchy())
        fail("its layers are not those of its hierarchy");
}

bool ObjectOutline::fail(const char* reason)
{
    if (damage_.empty())
        damage_ = reason;
    return false;
}

bool ObjectOutline::readLayer(StreamFile& file, std::uint64_t& position, std::uint64_t& end)
{
    const bool isFirst = layers_.empty();
    Record record;
    const char* const damage = record.read(file, position, end, isFirst, version_);
    // Of a first layer that has no room for itself the end is known nevertheless.
    if (record.body != 0 && record.body <= end && record.hierarchyBytes <= end - record.body)
        end = record.body + record.hierarchyBytes;
    else if (damage == nullptr || isFirst)
        end = position;
    if (damage != nullptr)
        return fail(damage);
    const Layer layer = {Text(record.name), record.majorRev, record.minorRev, record.body, record.bodyBytes};
    position = layer.bodyPosition + layer.bodyBytes;
    readBody(file, layer, position);
    layers_.push_back(layer);
    return true;
}

void ObjectOutline::readBody(StreamFile& file, const Layer& layer, std::uint64_t end)
{
    if (layer.bodyBytes == 0)
        return;
    if (isBase(layer.name) && !readText(file, end, hierarchyName_))
        fail("the name of its hierarchy has no end");
    if (!isTaggable(layer.name))
        return;
    if (layer.majorRev != 1 || layer.minorRev != 0)
        fail("its id is in an unknown form");
    const bool isRead = readText(file, end, id_) && readText(file, end, kind_) && file.position() == end;
    if (!isRead || !IdStamp::ofText(id_))
        fail("its id is damaged");
    else if (kind_ != "Taggable" && !std::string_view(kind_).starts_with("Taggable."))
        fail("its kind is damaged");
}

// Names are short or full, in the layers as in the hierarchy.
bool ObjectOutline::isOfItsHierarchy() const
{
    std::string_view rest = hierarchyName_;
    std::size_t same = 0;
    for (std::size_t i = 1; i < layers_.size(); ++i)
    {
        if (rest.empty())
            return false;
        const std::string_view name = rest.substr(0, rest.find('.'));
        same += name == layers_[i].name.text();
        rest.remove_prefix(std::min(name.size() + 1, rest.size()));
    }
    return rest.empty() && (same == 0 || same + 1 == layers_.size());
}
