#pragma once

#include "Mw/Ptr.h"
#include "OS/Export.h"
#include "misc/identity/IdentifiedBase.h"
#include "misc/persistence/TagTypeId.h"
#include "misc/persistence/Taggable.h"

#include <cstddef>
#include <cstdint>

class PStream;
class StreamFile;
class TagMarkerTable;

// A table's record of one object: its id, where it lies in the table's file, and the object itself while it is
// in memory. A marker whose object is only in the file is displaced; `demand` brings the object back.
//
// Markers are held by Mw::Ptr, by their table and by TagBase handles. One that was destroyed, or whose table is
// gone, belongs to no table and has no object. Any thread: operations take the lock of all tables. The object
// itself is whoever's it is.
class MISC_API TagMarker : public iObject, public IdentifiedBase
{
public:
    // A marker without an object, for the table to intern.
    TagMarker(TagMarkerTable& table, const IdStamp& id);
    // A marker for a new object, for the table to intern. It draws stamps until it has one that the table doesn't
    // know.
    TagMarker(TagMarkerTable& table, const Mw::Ptr<Taggable>& object);
    // The marker of an object that no table has, such as one that a stored handle names and the file lacks.
    explicit TagMarker(const IdStamp& id) noexcept : IdentifiedBase(id) {}
    ~TagMarker() override;

    static void* operator new(std::size_t sizeBytes);
    static void operator delete(void* marker, std::size_t sizeBytes) noexcept;

    // For good: the tables find markers by it.
    const IdStamp& id() const noexcept { return IdentifiedBase::id(); }
    TagMarkerTable* table() const;
    // The kind of the object as it was last seen.
    TagTypeId tagTypeId() const;

    // Where the object lies in the table's file and how long it is there, in bytes. Length 0: it isn't there.
    std::uint32_t storedPosition() const;
    std::uint32_t storedLength() const;
    // Whether the object is stored: what is not doesn't outlast the table.
    bool isPersistant() const { return storedLength() != 0; }
    // Whether the object is stored and not in memory.
    bool isDisplaced() const;

    // The object, read from the table's file if it isn't in memory. Null if nothing is stored, and, with a line
    // that says so, if it can't be read; the marker is then what it was.
    Mw::Ptr<Taggable> demand();
    // The object if it is in memory.
    Mw::Ptr<Taggable> held() const;
    // Puts another object in the place of this one, which is let go without being written.
    void instance(const Mw::Ptr<Taggable>& object);

    // Whether there is an object in memory that packs to other bytes than are stored.
    bool modified() const;
    // Sees to it that the object in memory is stored: rewrites the table's file if the object has changed.
    // False if that fails.
    bool flush();
    // Lets go of the object in memory after `flush` and Taggable::displaceNotify. If it can't be stored it stays,
    // and the result is false.
    bool displace();
    // Lets go of the object if nobody else has it and it need not be written first; tells whether it did.
    bool purge();
    // Lets go of the object without writing it.
    void drop();
    // The end of the object, which is told of it (and read for that), and of its entry in the table.
    void destroy();

    // One line of id, kind, place and state, and, if asked, what the object in memory prints.
    LightweightString<char> objectInfo(bool withObject) const;

    // The lock of all tables.
    void lock() const;
    void unlock() const;

private:
    friend class TagMarkerTable;
    friend class SwapRewrite;
    friend class SwapComparison;

    static constexpr std::uint32_t noSlot = 0x7FFFFFFF;

    // Writes the object as this marker's. False, with the reason in the stream, if it can't be packed.
    bool pack(PStream& stream) const;
    // Reads the stored object.
    Mw::Ptr<Taggable> read();
    bool readFrom(StreamFile& file, Mw::Ptr<Taggable>& object);
    // Where the object lies in the table's file from now on.
    void setPlace(std::uint64_t position, std::uint64_t length) noexcept
    {
        position_ = static_cast<std::uint32_t>(position);
        length_ = static_cast<std::uint32_t>(length);
        recent_ = 0;
    }
    // Takes the kind of the object in memory; whether it is that of an object.
    void keepType();
    bool isOfType(const Taggable& object) const;
    // Tells the object in memory that it is displaced.
    void tellDisplaced() const;
    // Leaves the table, without its entries, and the object.
    void detach();

    // There are many markers, so the fields leave no room between them.
    std::uint32_t slot_ : 31 = noSlot; // in the table's vector
    std::uint32_t isRead_ : 1 = false; // at this moment
    TagMarkerTable* table_ = nullptr;
    Mw::Ptr<Taggable> object_;
    std::uint32_t position_ = 0;
    std::uint32_t length_ = 0;
    std::uint64_t recent_ = 0; // where the stored bytes are in memory, if they still are
    TagTypeId ttid_;
};
