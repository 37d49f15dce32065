#pragma once

#include "Mw/LightweightString.h"
#include "Mw/Ptr.h"
#include "OS/Export.h"
#include "OS/File.h"
#include "libmw/CriticalSection.h"
#include "misc/identity/Cookie.h"
#include "misc/persistence/StreamFile.h"
#include "misc/persistence/TagMarker.h"

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <memory_resource>
#include <set>
#include <typeinfo>
#include <utility>
#include <vector>

// A large set of stored objects in one file, of which those in memory are a part. The table owns its markers and
// the file; an object is held by its marker and whoever works with it. docs/formats.md draws the file.
//
//     Mw::Ptr<TagMarkerTable> table;
//     bool failed;
//     TagMarkerTable::openSwap(table, directory, cookie, failed, iFile::eOpenAlways, L"odb");
//     const Mw::Ptr<TagMarker> marker = table->intern(Mw::Ptr<Taggable>(new Shot));
//     table->flush();        // all is on the disk
//     table->displaceAll();  // nothing is in memory
//     marker->demand();      // this one is
//
// The file is replaced whole: it is what it was after the last flush that succeeded, whenever the process ends.
// A flush writes the objects in memory and carries the bytes of the others over, and so it does with what the
// table couldn't read: objects of classes that nobody registered, and all that follows an error. A flush that
// fails changes neither the file nor a marker; only where the file's directory could not be flushed, the new file is
// there already.
//
// The bytes of the objects that were read last stay in memory, in 8 MiB for all tables together, for objects that
// are let go and soon asked for again.
//
// Nothing is thrown: a failure is a line on the console and a result. Any thread: all tables share one lock.
class MISC_API TagMarkerTable : public iObject
{
public:
    using Path = LightweightString<wchar_t>;

    // A table without objects. A file that is there already is not looked at; the first flush replaces it.
    TagMarkerTable(const Path& directory, const Cookie& cookie, const Path& extension);
    // Closes the file without writing. The markers lose their objects.
    ~TagMarkerTable() override;
    TagMarkerTable(const TagMarkerTable&) = delete;
    TagMarkerTable& operator=(const TagMarkerTable&) = delete;

    // Makes a table of what is stored under the name. Its objects are in memory. If the file isn't there and may
    // be made, or is to be made anew, the table is empty. `failed` tells one of two things. The file could not be
    // opened, or a class threw at what it read: then the table is empty as well, and until a reOpen its flush
    // fails where a file is. Or it could not be read to its end: what was read is in the table, and the first
    // flush keeps the old file as NAME.unread-1 (or -2, ...) and carries the rest over.
    static void openSwap(Mw::Ptr<TagMarkerTable>& result, const Path& directory, const Cookie& cookie, bool& failed,
                         iFile::eOpenBehaviour behaviour, const Path& extension);

    // Makes this the empty table that it was at first, with the name and the flags that it has. Refused, with a
    // line, while objects of the table are read, packed or compared, as are flush, closeSwap and reOpen.
    void init();

    // The file's name: the directory, the cookie's text, the extension, which is "" or begins with ".".
    Path fileName() const;
    Path extension() const;
    void extension(const Path& extension);
    Cookie pId() const;
    // The next flush writes to the name with this cookie; up to then the table has the file that it had.
    void pId(const Cookie& cookie);

    // A read-only table writes nothing. In debug mode a table tells the console what it does.
    bool readOnly() const noexcept { return readOnly_.load(std::memory_order_relaxed); }
    void readOnly(bool readOnly) noexcept { readOnly_.store(readOnly, std::memory_order_relaxed); }
    bool debugMode() const noexcept { return debugMode_.load(std::memory_order_relaxed); }
    void debugMode(bool debugMode) noexcept { debugMode_.store(debugMode, std::memory_order_relaxed); }

    // Number of markers.
    unsigned size() const;
    // The marker with this id, of several the first that came; null if there is none. Once that is destroyed,
    // buildIdMap finds the next.
    Mw::Ptr<TagMarker> find(const IdStamp& id) const;
    // The markers in order of interning.
    std::vector<Mw::Ptr<TagMarker>> markers() const;

    // A new marker for the object, with a new stamp, behind the others.
    Mw::Ptr<TagMarker> intern(const Mw::Ptr<Taggable>& object);
    // Puts a marker behind the others and gives it back. It leaves the table that it was in; in this one already,
    // it keeps its place. Null, and a marker whose object its table can't bring along, changes nothing. An id
    // that the table has keeps leading to the marker that it led to.
    Mw::Ptr<TagMarker> intern(const Mw::Ptr<TagMarker>& marker);
    // Takes a marker out, with its object in memory. False if it isn't in this table or can't be read.
    bool extract(const Mw::Ptr<TagMarker>& marker);

    // Takes a marker and its object out; the next flush leaves the object out of the file. The others keep their
    // order. False, with nothing changed, if the table doesn't have it. n calls for n markers take n log n.
    bool destroyMarker(const IdStamp& id);
    bool destroyMarker(const Mw::Ptr<TagMarker>& marker);

    // Replaces the file by what the table holds, on the disk when this returns. Under another name that is a
    // copy, and the table goes on with its own file. False if the file could not be written, and for a
    // read-only table.
    bool flush(const Path& name = Path());
    // Stores what has changed and lets go of all objects, those excepted that can't be stored: then false.
    bool displaceAll();
    // Lets go of the objects that nobody else has and that need not be written first; gives their number.
    unsigned purge();
    // Brings all objects into memory. False if one can't be read.
    bool loadAll();
    // Closes the file, with `write` after displaceAll. Does nothing if the table is closed or read-only. False
    // if something could not be stored: that stays in memory, and flush can try again.
    bool closeSwap(bool write);
    // Opens the file again for reading and finds the place of each marker's object in it. False if it can't be
    // opened or lacks an object that is not in memory; the markers are then what they were.
    bool reOpen();

    // Whether a flush would change what is stored under the table's name.
    bool modified();

    // Builds the index of ids anew from the markers; nobody needs to, as all operations keep it.
    void buildIdMap();

    // The file while it is open: from openSwap or reOpen to a flush or closeSwap. Reading an object opens it too.
    // For whoever holds the lock.
    StreamFile* swapFile() const noexcept { return file_; }

    // One line for the table and one for each marker.
    LightweightString<char> asString() const;

    void lock() const { lock_->enter(); }
    void unlock() const { lock_->leave(); }
    // The one lock of all tables.
    static CriticalSection& getTablesLock() noexcept;

    // The table that this thread is reading an object of, null if none.
    static TagMarkerTable* beingRead() noexcept;
    // The marker that a stored handle names: that of this table, or one that waits for its object if the table
    // is still being read, or else one without a table.
    Mw::Ptr<TagMarker> markerForHandle(const IdStamp& id);

private:
    friend class TagMarker;
    friend class SwapRewrite;
    friend class SwapComparison;
    class Walk;

    // Bytes of the file.
    struct Span
    {
        std::uint64_t position = 0;
        std::uint64_t length = 0;
    };
    // While one stands, the file and the places in it stay what they are, whatever the code of a class asks for.
    class Busy
    {
    public:
        explicit Busy(TagMarkerTable& table) noexcept : table_(table) { ++table_.busy_; }
        ~Busy() { --table_.busy_; }
        Busy(const Busy&) = delete;
        Busy& operator=(const Busy&) = delete;

    private:
        TagMarkerTable& table_;
    };
    // While one stands, the thread reads objects of the table.
    class Reading
    {
    public:
        explicit Reading(TagMarkerTable& table) noexcept;
        ~Reading();
        Reading(const Reading&) = delete;
        Reading& operator=(const Reading&) = delete;

    private:
        const Busy busy_;
        TagMarkerTable* const before_;
    };
    enum Rewritten
    {
        eRewritten,
        eNotOpened,
        eNotWritten
    };

    static CriticalSection* allocLock() noexcept { return &getTablesLock(); }

    bool openFile(iFile::eOpenBehaviour behaviour);
    bool internAll();
    void internRead(Mw::Ptr<Taggable> object, const Span& place);
    // Reads a file from its start, object by object, and hands each Taggable to `take`, which says whether it is
    // the table's. False, with a line, if it can't be read to its end.
    template <class Take>
    bool readAll(StreamFile& file, const char* function, std::vector<Span>& uncovered, Span& unread, Take take);
    // Opens the file and finds the place of each object in it; changes nothing if it lacks one that is needed.
    bool findPlaces(const Path& name);
    // The file of the last completed flush, opened again if need be; null if it can't be had.
    StreamFile* openCompleted();
    // The same for reading an object: makes it the swap file.
    StreamFile* fileToRead();
    // A closed table holds no file open.
    void closeIfClosed();
    // Whether it is no time to replace the file or let go of it; then says so.
    bool refuses(const char* function) const;
    void clear();

    void append(Mw::Ptr<TagMarker> marker);
    void remove(const Mw::Ptr<TagMarker>& marker);
    void closeGaps();
    // The object as a Taggable, null if it is none, which is not taken over then.
    Mw::Ptr<Taggable> asTaggable(Mw::Ptr<Streamable>&& object);
    // The kind with the text that all markers of the kind share.
    const TagTypeId& shared(const LightweightString<char>& kind);

    // Has the processor fetch what the slots behind this one need.
    static void askAhead(const std::vector<Mw::Ptr<TagMarker>>& markers, std::size_t slot);
    // Hands the pieces of the next file to a SwapRewrite or SwapComparison. False at the first that gives false.
    template <class Sink>
    bool forEachStored(Sink&& sink);
    // Whether the marker's object in memory packs to the bytes that are stored.
    bool isStored(const TagMarker& marker);
    Rewritten rewrite(const Path& name, bool own);
    Rewritten replace(const Path& name, bool own);
    bool keepUnread();
    // Rewrites the file if it would change.
    bool store(Rewritten& result);
    bool displaceAll(Rewritten& result);

    CriticalSection* const lock_ = allocLock();
    std::vector<Mw::Ptr<TagMarker>> markers_; // null where one was destroyed
    unsigned gaps_ = 0;
    unsigned walks_ = 0;                      // at this moment: gaps stay open
    std::vector<Mw::Ptr<TagMarker>> leaving_; // destroyed during walks
    unsigned busy_ = 0;                       // at this moment: the file stays
    StreamFile* file_ = nullptr;              // completed_ while it is open to the outside
    std::unique_ptr<StreamFile> completed_;
    std::atomic<bool> debugMode_ = false;
    std::atomic<bool> readOnly_ = false;
    Cookie cookie_;
    Path directory_;
    Path extension_;
    bool closed_ = false;
    // Entries lie in blocks, which go with the table.
    std::pmr::unsynchronized_pool_resource idBlocks_{{.max_blocks_per_chunk = 1024, .largest_required_pool_block = 64}};
    std::pmr::map<IdStamp, Mw::Ptr<TagMarker>> idMap_{&idBlocks_};

    Path storedName_;               // of the last completed file; empty if there is none
    std::uint64_t storedBytes_ = 0; // its size
    std::vector<Span> uncovered_;   // in the order of the file
    Span unread_;                   // its end, from an object on that could not be read
    bool keepsUnread_ = false;      // a copy of the file is to be made before it is replaced
    bool createNew_ = false;        // a file under the table's name must not be replaced
    std::set<TagTypeId> types_;
    const TagTypeId* lastType_ = nullptr;           // of types_, asked for last
    const std::type_info* lastTaggable_ = nullptr;  // the class of the object that was read last
    std::map<IdStamp, Mw::Ptr<TagMarker>> awaited_; // by handles that were read before their objects
    bool opening_ = false;
    using Destroyed = std::pair<std::uint32_t, IdStamp>; // place and id
    std::vector<Destroyed> destroyed_;                   // since the last flush, of stored objects
};
