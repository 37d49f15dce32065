// Area objects: persistent objects, written and read whole.
//
// Workload: bench/objects.h. The cases of one object go round in 1,000 of them and stay in memory; reading
// makes each object anew, by the name of its class that is stored with it.

#include "bench/harness/Keep.h"
#include "bench/harness/Registry.h"
#include "bench/limits/limits.h"
#include "bench/shots.h"
#include "misc/persistence/StreamObjectManager.h"

#include <cstdlib>
#include <vector>

namespace
{

using bench::objects::Fields;
using bench::objects::roundCount;

constexpr const char* packing = "objects/pack one";
constexpr const char* unpacking = "objects/unpack one";

struct Names
{
    static constexpr StreamLayerNames shot = {"S", "Shot"};
    static constexpr StreamLayerNames titledShot = {"TS", "TitledShot"};
};
using TitledShot = bench::objects::TitledShot<Streamable, Names>;

const StreamClassRegistrar registrar = StreamClassRegistrar::of<TitledShot>();

// The objects, and the same in a stream.
struct Round
{
    Round()
    {
        PStream stream(&file);
        for (unsigned i = 0; i < roundCount; ++i)
        {
            objects.push_back(Mw::makePtr<TitledShot>(bench::objects::fieldsOf(i)));
            stream << *objects.back();
        }
        objectBytes = file.size() / roundCount;
        file.setPosition(0);
        for (unsigned i = 0; i < roundCount; ++i)
            if (const auto read = Mw::dynamicCast<TitledShot>(theSOManager().readObject(stream));
                !read || read->fields() != bench::objects::fieldsOf(i))
                std::abort();
    }

    std::vector<Mw::Ptr<TitledShot>> objects;
    StreamFile file;
    std::size_t objectBytes;
};
Round& theRound()
{
    static Round round;
    return round;
}

void packOne(std::size_t count)
{
    const Round& round = theRound();
    StreamFile file;
    PStream stream(&file);
    for (unsigned i = 0; count != 0; --count)
    {
        stream << *round.objects[i];
        if (++i == roundCount)
            file.setPosition(i = 0);
    }
    bench::keep(file);
}

void unpackOne(std::size_t count)
{
    StreamFile& file = theRound().file;
    PStream stream(&file);
    file.setPosition(0);
    for (unsigned i = 0; count != 0; --count)
    {
        Mw::Ptr<Streamable> object = theSOManager().readObject(stream);
        bench::keep(object);
        if (++i == roundCount)
            file.setPosition(i = 0);
    }
}

void copyOne(std::size_t count)
{
    std::vector<char> bytes(theRound().objectBytes * roundCount);
    for (std::size_t at = 0; count != 0; --count, at = at + 1 == roundCount ? 0 : at + 1)
        limit_copy_out_and_in(bytes.data() + at * theRound().objectBytes, theRound().objectBytes);
}

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        registry.declare({packing, "Writes one object of two layers.", {{0.5, bench::bestPeer}}});
        registry.declare(
            {unpacking, "Reads one object of two layers, whose class is not known before.", {{0.5, bench::bestPeer}}});
        registry.add(packing, {bench::Role::ours, "ours", packOne});
        registry.add(unpacking, {bench::Role::ours, "ours", unpackOne});
        for (const char* caseName : {packing, unpacking})
            registry.add(caseName, {bench::Role::limit, "memcpy", copyOne});
    });

} // namespace
