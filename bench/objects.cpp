// Area objects: persistent objects, written and read whole.
//
// Workload: bench/objects.h. The cases of one object go round in 1,000 of them and stay in memory; reading
// makes each object anew, by the name of its class that is stored with it.

#include "bench/objects.h"

#include "bench/harness/Keep.h"
#include "bench/harness/Registry.h"
#include "bench/limits/limits.h"
#include "misc/identity/Cookie.h"
#include "misc/persistence/StreamObjectManager.h"
#include "misc/persistence/StreamableLayer.h"

#include <cstdlib>
#include <cstring>
#include <vector>

namespace
{

using bench::objects::Fields;
using bench::objects::roundCount;

constexpr const char* packing = "objects/pack one";
constexpr const char* unpacking = "objects/unpack one";

class Shot : public StreamableLayer<Shot, Streamable>
{
public:
    static constexpr StreamLayerNames layerNames = {"S", "Shot"};

    Shot() = default;
    explicit Shot(const Fields& fields) : numbers_(fields.numbers), name_(fields.name)
    {
        std::memcpy(&identity_, fields.identity.data(), sizeof identity_);
    }

    void pack(PStream& stream) const
    {
        stream << numbers_;
        stream.file()->write(&identity_, sizeof identity_);
        stream << name_;
    }
    void unpack(PStream& stream)
    {
        stream >> numbers_;
        stream.file()->readBinary(reinterpret_cast<unsigned char*>(&identity_), sizeof identity_, true);
        stream >> name_;
    }

    Fields fields() const
    {
        Fields fields;
        fields.numbers = numbers_;
        std::memcpy(fields.identity.data(), &identity_, sizeof identity_);
        fields.name = name_;
        return fields;
    }

private:
    std::array<int, 4> numbers_ = {};
    Cookie identity_;
    LightweightString<char> name_;
};

class TitledShot : public StreamableLayer<TitledShot, Shot>
{
public:
    static constexpr StreamLayerNames layerNames = {"TS", "TitledShot"};

    TitledShot() = default;
    explicit TitledShot(const Fields& fields) : StreamableLayer(fields), curve_(fields.curve), note_(fields.note) {}

    void pack(PStream& stream) const { stream << curve_ << note_; }
    void unpack(PStream& stream) { stream >> curve_ >> note_; }

    Fields fields() const
    {
        Fields fields = Shot::fields();
        fields.curve = curve_;
        fields.note = note_;
        return fields;
    }

private:
    std::array<double, 8> curve_ = {};
    LightweightString<char> note_;
};

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
