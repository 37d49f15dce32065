#pragma once

#include "bench/objects.h"
#include "misc/identity/Cookie.h"
#include "misc/persistence/StreamableLayer.h"

#include <cstring>

// The objects of bench/objects.h as persistent classes: two layers over `Bottom`, whose names are those of `Names`.

namespace bench::objects
{

template <class Bottom, class Names>
class Shot : public StreamableLayer<Shot<Bottom, Names>, Bottom>
{
public:
    static constexpr StreamLayerNames layerNames = Names::shot;

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

template <class Bottom, class Names>
class TitledShot : public StreamableLayer<TitledShot<Bottom, Names>, Shot<Bottom, Names>>
{
public:
    static constexpr StreamLayerNames layerNames = Names::titledShot;

    TitledShot() = default;
    explicit TitledShot(const Fields& fields)
        : StreamableLayer<TitledShot, Shot<Bottom, Names>>(fields), curve_(fields.curve), note_(fields.note)
    {
    }

    void pack(PStream& stream) const { stream << curve_ << note_; }
    void unpack(PStream& stream) { stream >> curve_ >> note_; }

    Fields fields() const
    {
        Fields fields = Shot<Bottom, Names>::fields();
        fields.curve = curve_;
        fields.note = note_;
        return fields;
    }

private:
    std::array<double, 8> curve_ = {};
    LightweightString<char> note_;
};

} // namespace bench::objects
