// QDataStream over a byte array. The reader makes the object by a name that is stored before it, through a
// hash of functions.

#include "bench/harness/Keep.h"
#include "bench/harness/Registry.h"
#include "bench/objects.h"

#include <QBuffer>
#include <QDataStream>
#include <QHash>
#include <QString>

#include <cstdlib>
#include <memory>
#include <vector>

namespace
{

using bench::objects::Fields;
using bench::objects::roundCount;

class Shot
{
public:
    Shot() = default;
    explicit Shot(const Fields& fields)
        : numbers_(fields.numbers), identity_(fields.identity), name_(QString::fromStdString(fields.name))
    {
    }
    virtual ~Shot() = default;

    virtual const char* className() const { return "Shot"; }
    virtual void pack(QDataStream& stream) const
    {
        for (const int number : numbers_)
            stream << number;
        stream.writeRawData(reinterpret_cast<const char*>(identity_.data()), 20);
        stream << name_;
    }
    virtual void unpack(QDataStream& stream)
    {
        for (int& number : numbers_)
            stream >> number;
        stream.readRawData(reinterpret_cast<char*>(identity_.data()), 20);
        stream >> name_;
    }

    QString name() const { return name_; }

private:
    std::array<int, 4> numbers_ = {};
    std::array<unsigned char, 20> identity_ = {};
    QString name_;
};

class TitledShot final : public Shot
{
public:
    TitledShot() = default;
    explicit TitledShot(const Fields& fields)
        : Shot(fields), curve_(fields.curve), note_(QString::fromStdString(fields.note))
    {
    }

    const char* className() const override { return "TitledShot"; }
    void pack(QDataStream& stream) const override
    {
        Shot::pack(stream);
        for (const double value : curve_)
            stream << value;
        stream << note_;
    }
    void unpack(QDataStream& stream) override
    {
        Shot::unpack(stream);
        for (double& value : curve_)
            stream >> value;
        stream >> note_;
    }

    QString note() const { return note_; }

private:
    std::array<double, 8> curve_ = {};
    QString note_;
};

using Build = std::unique_ptr<Shot> (*)();
const QHash<QByteArray, Build>& builders()
{
    static const QHash<QByteArray, Build> known = {
        {"Shot", [] { return std::make_unique<Shot>(); }},
        {"TitledShot", []() -> std::unique_ptr<Shot> { return std::make_unique<TitledShot>(); }}};
    return known;
}

void packObject(QDataStream& stream, const Shot& shot)
{
    stream << shot.className();
    shot.pack(stream);
}

std::unique_ptr<Shot> unpackObject(QDataStream& stream)
{
    QByteArray className;
    stream >> className;
    className.chop(1); // its terminator
    std::unique_ptr<Shot> shot = builders()[className]();
    shot->unpack(stream);
    return shot;
}

std::vector<std::unique_ptr<Shot>> makeObjects()
{
    std::vector<std::unique_ptr<Shot>> objects;
    for (unsigned i = 0; i < roundCount; ++i)
        objects.push_back(std::make_unique<TitledShot>(bench::objects::fieldsOf(i)));
    return objects;
}

QByteArray packedRound()
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream.setByteOrder(QDataStream::LittleEndian);
    for (const auto& object : makeObjects())
        packObject(stream, *object);
    return bytes;
}

void packOne(std::size_t count)
{
    static const auto objects = makeObjects();
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream.setByteOrder(QDataStream::LittleEndian);
    for (unsigned i = 0; count != 0; --count)
    {
        packObject(stream, *objects[i]);
        if (++i == roundCount)
            stream.device()->seek(i = 0);
    }
    bench::keep(bytes);
}

void unpackOne(std::size_t count)
{
    static const QByteArray bytes = packedRound();
    QDataStream stream(bytes);
    stream.setByteOrder(QDataStream::LittleEndian);
    for (unsigned i = 0; count != 0; --count)
    {
        std::unique_ptr<Shot> object = unpackObject(stream);
        bench::keep(object);
        const auto* const titled = static_cast<const TitledShot*>(object.get());
        if (titled->note().size() != 40)
            std::abort();
        if (++i == roundCount)
            stream.device()->seek(i = 0);
    }
}

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        registry.add("objects/pack one", {bench::Role::peer, "QDataStream", packOne});
        registry.add("objects/unpack one", {bench::Role::peer, "QDataStream", unpackOne});
    });

} // namespace
