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
        ++displaced;
        if (onDisplace)
            onDisplace(*this);
    }

    int number = 0;
    Text name;
    int displaced = 0;
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
    Mw::Ptr<Cut> asked;
    static inline std::function<void(const Cut&, PStream&)> onPack;
    static inline std::function<void(Cut&)> onUnpack;
};

inline bool isId(const std::string& text)
{
    return text.size() >= 17 && text.size() <= 24 && text.find_first_not_of("0123456789ABCDEF") == text.npos &&
           text.substr(8, 8) != "00000000" && (text.size() == 17 || text[16] != '0');
}

struct Object
{
    std::string hierarchy, id, kind;
    std::vector<std::pair<std::string, std::string>> layers; // name and body, from the first behind "$"
    std::size_t position = 0, length = 0;
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
    unsigned number(std::size_t width)
    {
        unsigned value = 0;
        const std::string read = take(width);
        for (std::size_t i = 0; i < read.size(); ++i)
            value |= unsigned(static_cast<unsigned char>(read[i])) << 8 * i;
        return value;
    }
    // In the older generation a number of all ones stands before one of twice the width.
    unsigned number(std::size_t width, bool older)
    {
        const unsigned value = number(width);
        return older && value == (1u << 8 * width) - 1 ? number(2 * width) : value;
    }
    std::string text()
    {
        const std::string read = take(bytes.find('\0', at) - at);
        take(1);
        return read;
    }
};

// The objects of a file; `whole` tells whether it is one to its last byte.
inline std::vector<Object> decode(const std::string& bytes, bool& whole)
{
    std::vector<Object> objects;
    Cursor in{bytes};
    while (in.good && in.at != bytes.size())
    {
        Object object;
        object.position = in.at;
        std::size_t end = bytes.size();
        bool older = false;
        do
        {
            const std::string name = in.text();
            const bool isBase = name == "$" || name == "Streamable";
            const unsigned major = in.number(1);
            in.good = in.good && isBase == object.layers.empty() && (!isBase || major == 1 || major == 2);
            older = isBase ? major == 1 : older;
            in.number(1, older);
            const unsigned layerSize = in.number(older ? 2 : 4, older);
            const unsigned hierarchySize = in.number(older ? 2 : 4, older);
            in.good = in.good && layerSize <= hierarchySize && hierarchySize <= end - in.at &&
                      (object.layers.empty() || hierarchySize == end - in.at);
            end = in.good ? in.at + hierarchySize : 0;
            object.layers.emplace_back(name, in.take(layerSize));
        } while (in.good && in.at != end);
        for (const auto& [name, body] : object.layers)
        {
            Cursor layer{body};
            if (body.empty()) // of a class that adds nothing
                continue;
            if (name == "$" || name == "Streamable")
                object.hierarchy = layer.text();
            if (name == "T" || name == "Taggable")
            {
                object.id = layer.text();
                object.kind = layer.text();
            }
            in.good = in.good && layer.good && (object.id.empty() || isId(object.id)) &&
                      (object.kind.empty() || object.kind.starts_with("Taggable."));
        }
        object.length = in.at - object.position;
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

inline Mw::Ptr<Cut> makeCut(int number, const Text& name, double gain = 0)
{
    const Mw::Ptr<Cut> cut(new Cut);
    cut->number = number;
    cut->name = name;
    cut->gain = gain;
    return cut;
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
    Mw::Ptr<TagMarkerTable> open() const
    {
        bool failed = true;
        Mw::Ptr<TagMarkerTable> table = open(failed);
        EXPECT_FALSE(failed);
        return table;
    }

    Path folder_ = L"/home";
    Cookie cookie_{'P', 7, 0, 5};
};

} // namespace swaptables
