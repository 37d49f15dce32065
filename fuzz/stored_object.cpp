#include "misc/diagnostics/Log.h"
#include "misc/persistence/StreamObjectManager.h"
#include "misc/persistence/StreamableLayer.h"

#include <cstdlib>

struct Node : StreamableLayer<Node, Streamable>
{
    static constexpr StreamLayerNames layerNames = {"N", "Node"};
    void pack(PStream& stream) const { inner ? stream << text << *inner : stream << text; }
    void unpack(PStream& stream)
    {
        stream >> text;
        if (text.length() % 2 == 1 && !(inner = theSOManager().readObject(stream)))
            stream.append("nothing inside");
    }
    LightweightString<char> text;
    Mw::Ptr<Streamable> inner; // behind a text of odd length
};
static const StreamClassRegistrar registrar = StreamClassRegistrar::of<Node>();

// Bytes are read to their end or to a failure, and each object that comes of them packs to one that reads back.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t sizeBytes)
{
    static std::FILE* const nowhere = std::fopen("/dev/null", "w");
    SetLogOutput(nowhere);
    StreamFile file, copy;
    file.write(data, static_cast<unsigned>(sizeBytes));
    file.setPosition(0);
    PStream stream(&file), packed(&copy);
    for (std::uint64_t before = 0; !file.eof() && !stream.failed(); before = file.position())
        if (const auto object = theSOManager().readObject(stream); object && !stream.failed())
            packed << *object;
        else if (!stream.failed() && file.position() <= before)
            std::abort();
    for (copy.setPosition(0); !copy.eof();)
        if (!theSOManager().readObject(packed))
            std::abort();
    return 0;
}
