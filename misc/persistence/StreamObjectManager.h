#pragma once

#include "Mw/LightweightString.h"
#include "Mw/Ptr.h"
#include "OS/Export.h"
#include "misc/base/GrowString.h"
#include "misc/persistence/PStream.h"
#include "misc/persistence/Streamable.h"

#include <cstdint>
#include <map>
#include <string_view>
#include <vector>

// Makes an object of one class from the stream, headers included. Null if it can't.
using StreamBuilder = Mw::Ptr<Streamable> (*)(PStream& stream);

struct SORegisterRec
{
    StreamBuilder builder = nullptr;
};

// The summary of a stored object that stands in a stream by itself: what it is, and two numbers of the
// writer's.
class MISC_API StreamObjectInfo
{
public:
    explicit StreamObjectInfo(const LightweightString<char>& name = {}) : name_(name) {}
    // Reads a terminated text and two numbers of 32 bits. What the end of the file cuts stays empty or 0.
    explicit StreamObjectInfo(PStream& stream);

    const LightweightString<char>& name() const noexcept { return name_; }
    const LightweightString<char>& text() const noexcept { return text_; }
    unsigned first() const noexcept { return first_; }
    unsigned second() const noexcept { return second_; }

    // Appends one line, nothing if the text is empty.
    void printOn(GrowString& out) const;

private:
    LightweightString<char> name_;
    LightweightString<char> text_;
    unsigned first_ = 0;
    unsigned second_ = 0;
};

// Turns stored objects into live ones without the caller knowing their classes: each class registers a
// builder under its hierarchy names, and a stored object begins with such a name. It lives for the whole
// process, and entries stay.
//
// No lock guards it: classes register in static constructors, before other threads read.
class MISC_API StreamObjectManager
{
public:
    StreamObjectManager() = default;
    StreamObjectManager(const StreamObjectManager&) = delete;
    StreamObjectManager& operator=(const StreamObjectManager&) = delete;

    // Makes this the one that theSOManager gives.
    void init();

    // A name that is there already ends the program.
    void registerClass(const LightweightString<char>& shortName, const LightweightString<char>& fullName,
                       StreamBuilder builder);
    // Does nothing. Gives 0.
    int unregisterClass(const LightweightString<char>& name);
    // The builder for a hierarchy name in short or full form, or null.
    StreamBuilder lookup(const LightweightString<char>& name) const;

    // The object at the stream's position, of whatever class. Null on failure, which is printed: if the
    // stream is in error already, which moves nothing; if the object's header can't be read, its class is
    // not known, or its builder fails. The stream then stands at the object's end wherever its header tells
    // that, and its text is that of the failure; an unknown class is none.
    Mw::Ptr<Streamable> readObject(PStream& stream);

    // Clones the prototype and has the clone unpack the body of a Streamable layer; gives the clone. Null if
    // there is no clone.
    Mw::Ptr<Streamable> readObjectAs(PStream& stream, Streamable& prototype);

    StreamObjectInfo objectInfo(PStream& stream) const;

private:
    // A table of twice as many entries or more, found by hash; a free one has no builder.
    struct Entry
    {
        std::string_view name;
        StreamBuilder builder = nullptr;
    };

    void insert(const LightweightString<char>& name, StreamBuilder builder);
    void enter(const LightweightString<char>& name, StreamBuilder builder);
    StreamBuilder builderOf(std::string_view name) const;
    Entry& entryOf(std::string_view name);
    static Mw::Ptr<Streamable> build(PStream& stream, StreamBuilder builder, std::uint64_t end);

    std::map<LightweightString<char>, SORegisterRec> classes_;
    // The same for finding them quickly.
    std::vector<Entry> index_;
};

// The one manager, made on first use.
MISC_API StreamObjectManager& theSOManager();

// Reads an object through theSOManager. The caller owns it: its count is 0, for the first Mw::Ptr to adopt.
MISC_API PStream& operator>>(PStream& stream, Streamable*& object);

// The builder that suits most classes: a new object, unpacked. Null if that left an error in the stream.
template <class Class>
Mw::Ptr<Streamable> buildStreamable(PStream& stream)
{
    Mw::Ptr<Class> object;
    if constexpr (std::is_constructible_v<Class, Streamable::BuilderType>)
        object = Mw::Ptr<Class>(new Class(Streamable::eForReading));
    else
        object = Mw::Ptr<Class>(new Class);
    stream >> static_cast<Streamable&>(*object);
    if (stream.failed())
        return {};
    return object;
}

// Registers a class from a static constructor, in one source of the class:
//
//     const StreamClassRegistrar registrar = StreamClassRegistrar::of<Clip>();
class MISC_API StreamClassRegistrar
{
public:
    // By the names of the class's hierarchy.
    StreamClassRegistrar(const LightweightString<char>& shortName, const LightweightString<char>& fullName,
                         StreamBuilder builder);

    // With the standard builder.
    template <class Class>
    static StreamClassRegistrar of()
    {
        return StreamClassRegistrar(Class::subHierarchyName(false, true), Class::subHierarchyName(false, false),
                                    buildStreamable<Class>);
    }
};
