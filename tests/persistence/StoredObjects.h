#pragma once

#include "QuietTest.h"
#include "misc/persistence/StreamObjectManager.h"
#include "misc/persistence/StreamableLayer.h"
#include "platform/Sanitized.h"

#include <fstream>
#include <string>
#include <sys/resource.h>
#include <unistd.h>
#include <vector>

// Persistent classes and their stored bytes, put together without the code that is tested.
namespace stored
{

class Clip : public StreamableLayer<Clip, Streamable>
{
public:
    static constexpr StreamLayerNames layerNames = {"C", "Clip"};
    void pack(PStream& stream) const { stream << start << name; }
    void unpack(PStream& stream) { stream >> start >> name; }

    int start = 0;
    LightweightString<char> name;
};

class Title : public StreamableLayer<Title, Clip>
{
public:
    static constexpr StreamLayerNames layerNames = {"T", "Title"};
    void pack(PStream& stream) const { stream << text; }
    void unpack(PStream& stream) { stream >> text; }

    LightweightString<char> text;
};

// Objects of any class within an object.
class Bin : public StreamableLayer<Bin, Streamable>
{
public:
    static constexpr StreamLayerNames layerNames = {"B", "Bin"};
    void pack(PStream& stream) const
    {
        setRevs(7, 9);
        stream << static_cast<unsigned>(objects.size());
        for (const Mw::Ptr<Streamable>& object : objects)
            stream << *object;
    }
    void unpack(PStream& stream)
    {
        unsigned count = 0;
        for (stream >> count; count != 0 && !stream.failed(); --count)
        {
            objects.push_back(theSOManager().readObject(stream));
            if (!objects.back() && !stream.failed())
                stream.append("An object is missing.");
        }
    }

    std::vector<Mw::Ptr<Streamable>> objects;
};

inline const StreamClassRegistrar registrars[] = {StreamClassRegistrar::of<Clip>(), StreamClassRegistrar::of<Title>(),
                                                  StreamClassRegistrar::of<Bin>()};

struct Layer
{
    std::string name, body;
    unsigned majorRev = 1, minorRev = 0;
};

// While one stands, the process gets few bytes more: whoever believes a damaged size runs out of it.
struct LittleMemory
{
    LittleMemory()
    {
        ::getrlimit(RLIMIT_AS, &before);
        long pages = 0;
        std::ifstream("/proc/self/statm") >> pages;
        const rlimit little{static_cast<rlim_t>(pages * ::sysconf(_SC_PAGESIZE)) + (8u << 20), before.rlim_max};
        if (!MW_SANITIZED)
            ::setrlimit(RLIMIT_AS, &little);
    }
    ~LittleMemory() { ::setrlimit(RLIMIT_AS, &before); }

    rlimit before;
};

inline std::string bytesOf(unsigned value, unsigned count)
{
    std::string bytes;
    for (; count != 0; --count, value >>= 8)
        bytes += static_cast<char>(value);
    return bytes;
}

// A number of a header. In the older format: `width` bytes, or as many of ones and then twice as many.
inline std::string number(unsigned version, unsigned value, unsigned width)
{
    const unsigned escape = (1u << 8 * width) - 1;
    if (version == 2)
        return bytesOf(value, width == 1 ? 1 : 4);
    return value < escape ? bytesOf(value, width) : bytesOf(escape, width) + bytesOf(value, 2 * width);
}

inline std::string records(unsigned version, const std::vector<Layer>& layers)
{
    std::string bytes;
    for (auto layer = layers.rbegin(); layer != layers.rend(); ++layer)
    {
        const auto size = static_cast<unsigned>(layer->body.size());
        const auto hierarchy = static_cast<unsigned>(layer->body.size() + bytes.size());
        bytes = layer->name + '\0' + number(version, layer->majorRev, 1) + number(version, layer->minorRev, 1) +
                number(version, size, 2) + number(version, hierarchy, 2) + layer->body + bytes;
    }
    return bytes;
}

inline std::string object(unsigned version, const std::string& hierarchy, std::vector<Layer> layers)
{
    layers.insert(layers.begin(), {"$", hierarchy + '\0', version, 0});
    return records(version, layers);
}

inline Layer clipLayer(int start, const std::string& name)
{
    return {"C", bytesOf(static_cast<unsigned>(start), 4) + name + '\0'};
}

inline std::string titleObject(unsigned version)
{
    return object(version, "C.T", {clipLayer(25, "reel"), {"T", std::string("End\0", 4)}});
}

// A stream in memory, and what is said meanwhile.
class StoredObjects : public QuietTest
{
protected:
    // Begins a stream with these bytes, in the version that every reading begins with.
    void put(const std::string& bytes)
    {
        file_.close();
        file_.write(bytes.data(), static_cast<unsigned>(bytes.size()));
        file_.setPosition(0);
        stream_.clear();
        stream_.version(1);
    }
    std::string written()
    {
        file_.setPosition(0);
        return std::string(file_.cached());
    }
    std::string packed(const Streamable& object)
    {
        put("");
        stream_ << object;
        return written();
    }

    StreamFile file_;
    PStream stream_{&file_};
};

} // namespace stored
