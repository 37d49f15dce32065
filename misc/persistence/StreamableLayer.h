#pragma once

#include "OS/Immortal.h"
#include "misc/persistence/Streamable.h"

#include <concepts>
#include <string_view>
#include <type_traits>

// How a class becomes persistent. It derives from its base by way of StreamableLayer, and has two names, a
// `pack` and an `unpack` for its own fields:
//
//     class Clip : public StreamableLayer<Clip, Streamable>
//     {
//     public:
//         static constexpr StreamLayerNames layerNames = {"C", "Clip"};
//         void pack(PStream& stream) const { stream << start_ << name_; }
//         void unpack(PStream& stream) { stream >> start_ >> name_; }
//
//     private:
//         int start_ = 0;
//         LightweightString<char> name_;
//     };
//
// and, in one source, a registrar (StreamObjectManager.h). Headers, sizes and checks are the layer's affair.
//
// A `pack` that writes another format than 1.0 says so by setRevs, and `unpack` finds by majorRev and
// minorRev what it has to read; what it can't read it reports by appending a text to the stream. It may stop
// early: data of a newer program that it leaves is passed over, with a warning in the log. An object within
// the object is written and read by << and >>.

// The names of a layer in stored objects. Each is unique among the classes of a program, and has no '.'.
struct StreamLayerNames
{
    std::string_view shortName; // terminated, as literals are
    std::string_view fullName;

    constexpr bool valid() const noexcept { return isName(shortName) && isName(fullName) && shortName != fullName; }

private:
    static constexpr bool isName(std::string_view name) noexcept
    {
        return !name.empty() && name.find_first_of(std::string_view(".\0", 2)) == name.npos;
    }

public:
    constexpr StreamLayerNames(const char* shortLayerName, const char* fullLayerName) noexcept
        : shortName(shortLayerName), fullName(fullLayerName)
    {
    }
};

// What all layers have in common: the records around the bodies.
class MISC_API StreamableTraitsBase
{
public:
    struct PackFunctionStackEntry;

    // The layers of an object that are still to be written, base first.
    struct PackFunctionStack
    {
        const PackFunctionStackEntry* front = nullptr;
    };
    struct PackFunctionStackEntry
    {
        StreamStatus (*function)(const void* object, PStream& stream, PackFunctionStack& stack);
        const void* object;
        const PackFunctionStackEntry* next;
    };

    // Objects within objects are read up to this depth.
    static constexpr int maxDepth = 100;

    // What nearly all objects begin with: a first layer of the current generation, whole in the cache, that
    // holds the hierarchy name and no more.
    struct UsualObject
    {
        std::string_view hierarchyName; // valid until the file is asked for anything
        unsigned layerBytes;            // the first layer with its header
        unsigned followingBytes;        // the other layers
    };
    // Looks at the object at the stream's position, and moves nothing. False if it is none of these, or
    // damaged, or the stream is in error: that is for `unpackHeaderAndObject` to find out.
    static bool peekUsualObject(const PStream& stream, UsualObject& object);

protected:
    // A layer as one class has it; `self` is the object as that class.
    struct Layer
    {
        StreamLayerNames names;
        void (*pack)(const void* self, PStream& stream);
        void (*unpack)(void* self, PStream& stream);
    };

    static StreamStatus packLayer(const Layer& layer, const Streamable& object, const void* self, PStream& stream,
                                  PackFunctionStack& stack);
    static StreamStatus unpackLayer(const Layer& layer, Streamable& object, void* self, PStream& stream);
};

// The layer of one class, whose base is void for Streamable.
template <class Class, class Base>
class StreamableTraits : public StreamableTraitsBase
{
public:
    // Puts the layer at the front of those to be written and goes on with the base, of which the first one
    // begins to write.
    static StreamStatus pack(const Class& object, PStream& stream, PackFunctionStack& stack)
    {
        const PackFunctionStackEntry entry = {packHeaderAndObject, &object, stack.front};
        stack.front = &entry;
        if constexpr (std::is_void_v<Base>)
            return packHeaderAndObject(&object, stream, stack);
        else
            return Base::STRM_Traits::pack(object, stream, stack);
    }

    // Writes the layer at the front, and the layers behind it.
    static StreamStatus packHeaderAndObject(const void* self, PStream& stream, PackFunctionStack& stack)
    {
        return packLayer(layer, *static_cast<const Class*>(self), self, stream, stack);
    }

    // Reads one record. On eStreamUnpacked the stream stands behind its body; on eStreamWrongLayer, and where
    // the class's `unpack` failed, at the end of the object.
    static StreamStatus unpackHeaderAndObject(Class& object, PStream& stream)
    {
        return unpackLayer(layer, object, &object, stream);
    }

private:
    static constexpr StreamLayerNames names()
    {
        if constexpr (std::is_void_v<Base>)
            return {Class::shortLayerName().data(), Class::layerName().data()};
        else
            return Class::layerNames;
    }

    static constexpr Layer layer = {
        names(), [](const void* self, PStream& stream) { static_cast<const Class*>(self)->Class::pack(stream); },
        [](void* self, PStream& stream) { static_cast<Class*>(self)->Class::unpack(stream); }};
};

// What stands between a persistent class and its base, Streamable or a class made like this.
template <class Class, class Base>
class MISC_API StreamableLayer : public Base
{
public:
    using STRM_Traits = StreamableTraits<Class, Base>;
    using Base::Base;
    StreamableLayer() = default;

    static constexpr std::string_view shortLayerName() noexcept { return Class::layerNames.shortName; }
    static constexpr std::string_view layerName() noexcept { return Class::layerNames.fullName; }
    static LightweightString<char> subHierarchyName(bool first, bool shortForm);

    LightweightString<char> hierarchyName(bool first, bool shortForm) const override
    {
        return subHierarchyName(first, shortForm);
    }
    const LightweightString<char>& STRM_storedName() const override { return immortal<Names>().shortForm; }
    const LightweightString<char>& STRM_className() const override { return immortal<Names>().fullForm; }
    StreamStatus STRM_hierarchyPack(PStream& stream) const override;
    StreamStatus STRM_hierarchyUnpack(PStream& stream) override;
    // A copy, if the class can be copied.
    Mw::Ptr<Streamable> clone(Streamable::BuilderType type) override;

protected:
    StreamableLayer(const StreamableLayer&) = default;
    StreamableLayer& operator=(const StreamableLayer&) = default;

private:
    static LightweightString<char> joinedName(bool first, bool shortForm);

    struct Names
    {
        LightweightString<char> shortForm = joinedName(false, true);
        LightweightString<char> fullForm = joinedName(false, false);
    };
};

template <class Class, class Base>
LightweightString<char> StreamableLayer<Class, Base>::joinedName(bool first, bool shortForm)
{
    LightweightString<char> name = Base::subHierarchyName(first, shortForm);
    if (!name.empty())
        name.push_back('.');
    return name += shortForm ? shortLayerName() : layerName();
}

template <class Class, class Base>
LightweightString<char> StreamableLayer<Class, Base>::subHierarchyName(bool first, bool shortForm)
{
    static_assert(Class::layerNames.valid(), "two names that differ, without '.'");
    if (first)
        return joinedName(first, shortForm);
    const Names& names = immortal<Names>();
    return shortForm ? names.shortForm : names.fullForm;
}

template <class Class, class Base>
StreamStatus StreamableLayer<Class, Base>::STRM_hierarchyPack(PStream& stream) const
{
    static_assert(std::same_as<decltype(&Class::pack), void (Class::*)(PStream&) const>,
                  "the class has a pack of its own");
    StreamableTraitsBase::PackFunctionStack stack;
    return STRM_Traits::pack(static_cast<const Class&>(*this), stream, stack);
}

template <class Class, class Base>
StreamStatus StreamableLayer<Class, Base>::STRM_hierarchyUnpack(PStream& stream)
{
    static_assert(std::same_as<decltype(&Class::unpack), void (Class::*)(PStream&)>,
                  "the class has an unpack of its own");
    const StreamStatus status = Base::STRM_hierarchyUnpack(stream);
    if (status != eStreamPacked && status != eStreamUnpacked)
        return status;
    return STRM_Traits::unpackHeaderAndObject(static_cast<Class&>(*this), stream);
}

template <class Class, class Base>
Mw::Ptr<Streamable> StreamableLayer<Class, Base>::clone(Streamable::BuilderType type)
{
    if constexpr (std::is_copy_constructible_v<Class>)
    {
        const Mw::Ptr<StreamableLayer> copy(new Class(static_cast<const Class&>(*this)));
        copy->setBuilderType(type);
        return copy;
    }
    else
        return {};
}
