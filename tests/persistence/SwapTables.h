#pragma once

#include "QuietTest.h"
#include "misc/persistence/TagBase.h"
#include "misc/persistence/TagMarkerTable.h"

#include <functional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

// Stored classes, and a decoder of swap files that knows docs/formats.md and nothing else.
namespace swaptables
{

using Path = LightweightString<wchar_t>;
using Text = LightweightString<char>;

class Shot : public StreamableLayer<Shot, Taggable>
{
public:
    static constexpr StreamLayerNames layerNames = {"Sh", "Shot"};
    void pack(PStream& stream) const { stream << number << name; }
    void unpack(PStream& stream) { stream >> number >> name; }
    void displaceNotify() override
    {
        if (onDisplace)
            onDisplace(*this);
    }

    int number = 0;
    Text name;
    static inline std::function<void(Shot&)> onDisplace;
};

class Cut : public StreamableLayer<Cut, Shot>
{
public:
    static constexpr StreamLayerNames layerNames = {"Cu", "Cut"};
    void pack(PStream& stream) const
    {
        stream << gain << next;
        if (onPack)
            onPack(*this, stream);
    }
    void unpack(PStream& stream)
    {
        stream >> gain >> next;
        if (onUnpack)
            onUnpack(*this);
    }

    double gain = 0;
    TagBase next; // another object of the table
    static inline std::function<void(const Cut&, PStream&)> onPack;
    static inline std::function<void(const Cut&)> onUnpack;
};

inline const StreamClassRegistrar shots = StreamClassRegistrar::of<Shot>();
inline const StreamClassRegistrar cuts = StreamClassRegistrar::of<Cut>();

inline bool isId(const std::string& text)
{
    return text.size() >= 17 && text.size() <= 24 && text.find_first_not_of("0123456789ABCDEF") == text.npos &&
           text.substr(8, 8) != "00000000" && (text.size() == 17 || text[16] != '0');
}

struct Object
{
    std::string hierarchy, id, kind;
    std::vector<std::string> bodies; // of its layers
};

inline void need(bool good)
{
    if (!good)
        throw std::runtime_error("no such file");
}

// Reads values from the front of a text; throws at its end.
struct Cursor
{
    std::string bytes;
    std::size_t at = 0;

    std::string take(std::size_t count)
    {
        need(count <= bytes.size() - at);
        return bytes.substr(std::exchange(at, at + count), count);
    }
    std::string text()
    {
        const std::string read = take(bytes.find('\0', at) - at);
        take(1);
        return read;
    }
    unsigned number(std::size_t width)
    {
        unsigned value = 0, shift = 0;
        for (const char c : take(width))
            value |= unsigned(static_cast<unsigned char>(c)) << std::exchange(shift, shift + 8);
        return value;
    }
};

// The objects of a file; throws if it isn't one of the current generation to its last byte.
inline std::vector<Object> decode(const std::string& file)
{
    std::vector<Object> objects;
    for (Cursor in{file}; in.at != file.size();)
    {
        Object object;
        std::size_t end = file.size();
        do
        {
            const std::string name = in.text();
            const bool isBase = name == "$";
            need(isBase == object.bodies.empty() && (in.number(1) == 2 || !isBase));
            in.take(1);
            const unsigned layerSize = in.number(4), hierarchySize = in.number(4);
            const std::size_t left = end - in.at;
            need(layerSize <= hierarchySize && (isBase ? hierarchySize <= left : hierarchySize == left));
            end = in.at + hierarchySize;
            Cursor body{in.take(layerSize)};
            object.bodies.push_back(body.bytes);
            if (isBase)
                object.hierarchy = body.text();
            else if (name == "T" && layerSize != 0)
            {
                object.id = body.text();
                object.kind = body.text();
            }
        } while (in.at != end);
        need(object.id.empty() || isId(object.id));
        need(object.kind.empty() || object.kind.starts_with("Taggable."));
        objects.push_back(object);
    }
    return objects;
}

inline bool putFile(const Path& path, const std::string& bytes)
{
    return Mw::replaceFile(path, bytes.data(), bytes.size());
}

inline Mw::Ptr<Cut> makeCut(int number, const Text& name)
{
    const Mw::Ptr<Cut> cut(new Cut);
    cut->number = number;
    cut->name = name;
    return cut;
}

inline Mw::Ptr<Cut> cutOf(const Mw::Ptr<TagMarker>& marker)
{
    return Mw::dynamicCast<Cut>(marker->demand());
}

class SwapTableTest : public QuietTest
{
protected:
    ~SwapTableTest() override
    {
        Shot::onDisplace = nullptr;
        Cut::onPack = nullptr;
        Cut::onUnpack = nullptr;
    }

    Mw::Ptr<TagMarkerTable> open(bool& failed, iFile::eOpenBehaviour behaviour = iFile::eOpenAlways) const
    {
        Mw::Ptr<TagMarkerTable> table;
        TagMarkerTable::openSwap(table, folder_, cookie_, failed, behaviour, L"odb");
        return table;
    }
    // One that opens, with so many objects more.
    Mw::Ptr<TagMarkerTable> open(int cuts = 0, const Text& name = "cut") const
    {
        bool failed = true;
        const Mw::Ptr<TagMarkerTable> table = open(failed);
        EXPECT_FALSE(failed);
        for (int i = 0; i < cuts; ++i)
            table->intern(makeCut(i, name));
        return table;
    }

    Path name() const { return folder_ + L"/" + cookie_.asWString() + L".odb"; }

    Path folder_ = L"/home";
    Cookie cookie_{'P', 7, 0, 5};
};

} // namespace swaptables
