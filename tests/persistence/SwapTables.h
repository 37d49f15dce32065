#pragma once

#include "OS/FileMgr.h"
#include "QuietTest.h"
#include "misc/persistence/TagBase.h"
#include "misc/persistence/TagMarkerTable.h"

#include <functional>
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

// Reads values from the front of a text; what is not there fails.
struct Cursor
{
    std::string bytes;
    std::size_t at = 0;
    bool good = true;

    std::string take(std::size_t count)
    {
        good = good && count <= bytes.size() - at;
        return good ? bytes.substr(std::exchange(at, at + count), count) : "";
    }
    std::string text()
    {
        const std::string read = take(bytes.find('\0', at) - at);
        take(1);
        return read;
    }
    // In the older generation a number of all ones stands before one of twice the width.
    unsigned number(std::size_t width, bool older)
    {
        unsigned value = 0, shift = 0;
        for (const char c : take(width))
            value |= unsigned(static_cast<unsigned char>(c)) << std::exchange(shift, shift + 8);
        return older && value == (1u << 8 * width) - 1 ? number(2 * width, false) : value;
    }
};

// The objects of a file; `whole` tells whether it is one to its last byte.
inline std::vector<Object> decode(const std::string& file, bool& whole)
{
    std::vector<Object> objects;
    Cursor in{file};
    while (in.good && in.at != file.size())
    {
        Object object;
        std::size_t end = file.size();
        bool older = false;
        do
        {
            const std::string name = in.text();
            const bool isBase = name == "$" || name == "Streamable", isFirst = object.bodies.empty();
            const unsigned major = in.number(1, false);
            in.good = in.good && isBase == isFirst && (!isBase || major == 1 || major == 2);
            older = isBase ? major == 1 : older;
            in.number(1, older);
            const unsigned layerSize = in.number(older ? 2 : 4, older);
            const unsigned hierarchySize = in.number(older ? 2 : 4, older);
            in.good = in.good && layerSize <= hierarchySize && hierarchySize <= end - in.at &&
                      (isFirst || hierarchySize == end - in.at);
            end = in.good ? in.at + hierarchySize : 0;
            Cursor body{in.take(layerSize)};
            object.bodies.push_back(body.bytes);
            if (body.bytes.empty()) // of a class that adds nothing
                continue;
            if (isBase)
                object.hierarchy = body.text();
            else if (name == "T" || name == "Taggable")
            {
                object.id = body.text();
                object.kind = body.text();
            }
            in.good = in.good && body.good;
        } while (in.good && in.at != end);
        in.good = in.good && (object.id.empty() || isId(object.id)) &&
                  (object.kind.empty() || object.kind.starts_with("Taggable."));
        if (in.good)
            objects.push_back(object);
    }
    whole = in.good;
    return objects;
}

inline std::string fileBytes(const Path& path)
{
    const Mw::Ptr<iFile> file = OS().fileMgr().openFile(path);
    std::string bytes(file->isOpen() ? file->size() : 0, '\0');
    file->read(bytes.data(), bytes.size(), 0);
    return bytes;
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

    Path folder_ = L"/home";
    Cookie cookie_{'P', 7, 0, 5};
};

} // namespace swaptables
