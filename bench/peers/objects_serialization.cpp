// Boost's binary archives, which read and write an object by a pointer to its base class. An archive follows
// the pointers that it has seen, so each round of objects has one of its own.

#include "bench/harness/Keep.h"
#include "bench/harness/Registry.h"
#include "bench/objects.h"

#include <boost/archive/binary_iarchive.hpp>
#include <boost/archive/binary_oarchive.hpp>
#include <boost/serialization/array.hpp>
#include <boost/serialization/base_object.hpp>
#include <boost/serialization/binary_object.hpp>
#include <boost/serialization/export.hpp>
#include <boost/serialization/string.hpp>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <sstream>
#include <streambuf>
#include <vector>

namespace bench::objects::boosted
{

class Shot
{
public:
    Shot() = default;
    explicit Shot(const Fields& fields) : numbers_(fields.numbers), identity_(fields.identity), name_(fields.name) {}
    virtual ~Shot() = default;

    template <class Archive>
    void serialize(Archive& archive, unsigned)
    {
        archive& numbers_& boost::serialization::make_binary_object(identity_.data(), identity_.size()) & name_;
    }

private:
    std::array<int, 4> numbers_ = {};
    std::array<unsigned char, 20> identity_ = {};
    std::string name_;
};

class TitledShot final : public Shot
{
public:
    TitledShot() = default;
    explicit TitledShot(const Fields& fields) : Shot(fields), curve_(fields.curve), note_(fields.note) {}

    template <class Archive>
    void serialize(Archive& archive, unsigned)
    {
        archive& boost::serialization::base_object<Shot>(*this) & curve_& note_;
    }

    const std::string& note() const { return note_; }

private:
    std::array<double, 8> curve_ = {};
    std::string note_;
};

} // namespace bench::objects::boosted

BOOST_CLASS_EXPORT(bench::objects::boosted::TitledShot)

namespace
{

using bench::objects::roundCount;
using bench::objects::boosted::Shot;
using bench::objects::boosted::TitledShot;

constexpr unsigned plain = boost::archive::no_header;

// A block of memory as a stream.
class Block : public std::streambuf
{
public:
    explicit Block(std::string& bytes) { setp(bytes.data(), bytes.data() + bytes.size()); }
    explicit Block(const std::string& bytes)
    {
        char* const first = const_cast<char*>(bytes.data());
        setg(first, first, first + bytes.size());
    }
};

std::vector<std::unique_ptr<Shot>> makeObjects()
{
    std::vector<std::unique_ptr<Shot>> objects;
    for (unsigned i = 0; i < roundCount; ++i)
        objects.push_back(std::make_unique<TitledShot>(bench::objects::fieldsOf(i)));
    return objects;
}

void packOne(std::size_t count)
{
    static const auto objects = makeObjects();
    static std::string bytes(roundCount * 1000, '\0');
    while (count != 0)
    {
        Block block(bytes);
        boost::archive::binary_oarchive archive(block, plain);
        for (unsigned i = 0; i < roundCount && count != 0; ++i, --count)
        {
            const Shot* const object = objects[i].get();
            archive << object;
        }
    }
    bench::keep(bytes);
}

const std::string& packedRound()
{
    static const std::string bytes = []
    {
        std::stringbuf made;
        boost::archive::binary_oarchive archive(made, plain);
        for (const auto& object : makeObjects())
        {
            const Shot* const pointer = object.get();
            archive << pointer;
        }
        return made.str();
    }();
    return bytes;
}

void unpackOne(std::size_t count)
{
    // Kept until the round is over: the archive takes an address that comes again for one it knows.
    std::vector<std::unique_ptr<Shot>> objects(roundCount);
    while (count != 0)
    {
        Block block(packedRound());
        boost::archive::binary_iarchive archive(block, plain);
        for (unsigned i = 0; i < roundCount && count != 0; ++i, --count)
        {
            Shot* object = nullptr;
            archive >> object;
            objects[i].reset(object);
            if (static_cast<const TitledShot*>(object)->note().size() != 40)
                std::abort();
        }
    }
    bench::keep(objects);
}

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        registry.add("objects/pack one", {bench::Role::peer, "boost archive", packOne});
        registry.add("objects/unpack one", {bench::Role::peer, "boost archive", unpackOne});
    });

} // namespace
