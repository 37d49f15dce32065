// Area objects: tables of stored objects.
//
// Workload: bench/swap.h, 100,000 objects in files on the disk that the program stands on. The rows without sync
// run over a file manager that leaves syncs out.

#include "bench/swap.h"

#include "OS/testing/ForwardingFileMgr.h"
#include "bench/harness/Keep.h"
#include "bench/harness/Registry.h"
#include "bench/shots.h"
#include "libmw/Text.h"
#include "misc/persistence/StreamObjectManager.h"
#include "misc/persistence/TagMarkerTable.h"

#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>

namespace
{

using namespace bench::swap;

struct Names
{
    static constexpr StreamLayerNames shot = {"SS", "SwapShot"};
    static constexpr StreamLayerNames titledShot = {"ST", "SwapTitle"};
};
using SwapTitle = bench::objects::TitledShot<Taggable, Names>;

const StreamClassRegistrar registrar = StreamClassRegistrar::of<SwapTitle>();

// Says that everything is on the disk at once.
class UnsyncedFileMgr : public ForwardingFileMgr
{
public:
    Mw::Ptr<iFile> openFile(const Path& path, iFile::eAccess access, iFile::eOpenBehaviour behaviour,
                            iFile::eSharing sharing, unsigned hints, unsigned mode) override
    {
        return Mw::Ptr<iFile>(new File(ForwardingFileMgr::openFile(path, access, behaviour, sharing, hints, mode)));
    }
    bool syncDirectory(const Path&) override { return true; }

private:
    struct File : ForwardingFile
    {
        using ForwardingFile::ForwardingFile;
        bool flushToDisk() override { return true; }
        bool startFlush(std::uint64_t, std::uint64_t) override { return true; }
    };
};

void require(bool good)
{
    if (!good)
        std::abort();
}

LightweightString<wchar_t> directory()
{
    return fromUTF8((folder() / "").c_str());
}

Mw::Ptr<TagMarkerTable> makeTable(const char* number)
{
    return Mw::makePtr<TagMarkerTable>(directory(), Cookie(number, true), L"odb");
}

// A table of all, flushed once, with its objects in memory.
struct Filled
{
    explicit Filled(const char* number) : table(makeTable(number))
    {
        const OSReplacement<iFileMgr> replaced(unsynced);
        for (unsigned i = 0; i < objectCount; ++i)
            table->intern(Mw::makePtr<SwapTitle>(bench::objects::fieldsOf(i)));
        require(table->flush());
    }

    UnsyncedFileMgr unsynced;
    Mw::Ptr<TagMarkerTable> table;
};
Filled& full()
{
    static Filled filled("P0050001");
    return filled;
}

void flushUnsynced()
{
    const OSReplacement<iFileMgr> replaced(full().unsynced);
    require(full().table->flush());
}

void flushSynced()
{
    require(full().table->flush());
}

void open()
{
    full();
    Mw::Ptr<TagMarkerTable> table;
    bool failed = true;
    TagMarkerTable::openSwap(table, directory(), Cookie("P0050001", true), failed, iFile::eOpenExisting, L"odb");
    require(!failed && table->size() == objectCount);
}

// A table with all of its objects in the file.
struct Displaced : Filled
{
    Displaced() : Filled("P0050002")
    {
        const OSReplacement<iFileMgr> replaced(unsynced);
        require(table->displaceAll());
        markers = table->markers();
    }

    std::vector<Mw::Ptr<TagMarker>> markers;
};
Displaced& displaced()
{
    static Displaced made;
    return made;
}

void demand()
{
    static const std::vector<unsigned> order = anyOrder(demandCount);
    static std::size_t next = 0;
    TagMarker& marker = *displaced().markers[order[next++ % order.size()]];
    require(static_cast<bool>(marker.demand()));
    marker.drop();
}

void flushCarrying()
{
    static Displaced* const table = []
    {
        static Displaced made;
        for (unsigned i = 0; i < objectCount; i += 100)
            made.markers[i]->demand();
        return &made;
    }();
    const OSReplacement<iFileMgr> replaced(table->unsynced);
    require(table->table->flush());
}

void copyFile(std::size_t count)
{
    flushCarrying();
    const std::string from = folder() / "P0050002.odb";
    const std::string to = folder() / "copy";
    static std::vector<char> buffer(128 * 1024);
    for (; count != 0; --count)
    {
        const int in = ::open(from.c_str(), O_RDONLY);
        const int out = ::open(to.c_str(), O_WRONLY | O_CREAT | O_EXCL, 0600);
        for (ssize_t got; (got = ::read(in, buffer.data(), buffer.size())) > 0;)
            require(::write(out, buffer.data(), static_cast<std::size_t>(got)) == got);
        ::close(in);
        ::close(out);
        ::unlink(to.c_str());
    }
}

// The bytes of the table's file alone, to a new file in the place of an old one.
void writeBytes(std::size_t count, bool sync)
{
    full();
    static const std::size_t size = std::filesystem::file_size(folder() / "P0050001.odb");
    static const std::vector<char> bytes(256 * 1024, 'x');
    const std::string path = folder() / "plain";
    const std::string beside = path + ".TMP";
    for (; count != 0; --count)
    {
        const int file = ::open(beside.c_str(), O_WRONLY | O_CREAT | O_EXCL, 0600);
        for (std::size_t left = size; left != 0;)
        {
            const std::size_t part = std::min(left, bytes.size());
            require(::write(file, bytes.data(), part) == static_cast<ssize_t>(part));
            left -= part;
        }
        require(!sync || ::fsync(file) == 0);
        ::close(file);
        require(::rename(beside.c_str(), path.c_str()) == 0);
    }
}

void destroyAll()
{
    static const std::vector<unsigned> order = anyOrder(objectCount);
    static const Mw::Ptr<SwapTitle> shot(new SwapTitle);
    const Mw::Ptr<TagMarkerTable> table = makeTable("P0050003");
    std::vector<IdStamp> ids;
    for (unsigned i = 0; i < objectCount; ++i)
        ids.push_back(table->intern(shot)->id());
    for (const unsigned i : order)
        require(table->destroyMarker(ids[i]));
}

void destroyInMap(std::size_t count)
{
    static const std::vector<unsigned> order = anyOrder(objectCount);
    for (; count != 0; --count)
    {
        std::map<Id, std::shared_ptr<Handle>> handles;
        for (unsigned i = 0; i < objectCount; ++i)
            handles.emplace_hint(handles.end(), idOf(i), std::make_shared<Handle>());
        for (const unsigned i : order)
            handles.erase(idOf(i));
    }
}

// The heap that a table of all holds when its objects are in the file.
void holdDisplaced(std::size_t count)
{
    static const auto unsynced = std::make_unique<UnsyncedFileMgr>();
    static Mw::Ptr<TagMarkerTable> held;
    const OSReplacement<iFileMgr> replaced(*unsynced);
    held.reset();
    if (count == 0)
        return;
    held = makeTable("P0050004");
    for (unsigned i = 0; i < objectCount; ++i)
        held->intern(Mw::makePtr<SwapTitle>(bench::objects::fieldsOf(i)));
    require(held->displaceAll());
}

void holdBytes(std::size_t count)
{
    constexpr std::size_t bytesEach = 220;
    static std::vector<char> held;
    held = std::vector<char>(count * bytesEach * objectCount);
}

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        registry.declare(
            {flushCase, "Writes all objects to a new file, which takes the old one's place.", {{0.6, "LMDB"}}});
        registry.declare({.name = syncCase,
                          .what = "The same, until they are on the disk.",
                          .aims = {{0.6, "LMDB"}},
                          .clock = bench::Clock::wall});
        registry.declare({openCase,
                          "Makes a table of a file: all objects, their handles and the index of their ids.",
                          {{1.0, bench::bestPeer}}});
        registry.declare({demandCase,
                          "Reads an object that is in the file; the limit is one pread and one unpack.",
                          {{1.0, "LMDB"}}});
        registry.declare({carryCase,
                          "Replaces the file where 99 of 100 objects are in it only; the limit copies a file.",
                          {{1.5, bench::theLimit}}});
        registry.declare({destroyCase,
                          "Makes markers for all objects and destroys them; the limit does so in a std::map.",
                          {{3.0, bench::theLimit}}});
        registry.declare(
            {.name = memoryCase,
             .what = "The heap that a table holds, its index of ids included; the limit is 220 bytes each.",
             .aims = {{1.0, bench::theLimit}},
             .clock = bench::Clock::heap});
        registry.ours(flushCase, flushUnsynced);
        registry.ours(syncCase, flushSynced);
        registry.ours(openCase, open);
        registry.ours(demandCase, demand);
        registry.ours(carryCase, flushCarrying);
        registry.ours(destroyCase, destroyAll);
        registry.add(memoryCase, {bench::Role::ours, "ours", holdDisplaced});
        registry.add(flushCase, {bench::Role::limit, "write", [](std::size_t count) { writeBytes(count, false); }});
        registry.add(syncCase,
                     {bench::Role::limit, "write and fsync", [](std::size_t count) { writeBytes(count, true); }});
        registry.add(carryCase, {bench::Role::limit, "read and write", copyFile});
        registry.add(destroyCase, {bench::Role::limit, "std::map", destroyInMap});
        registry.add(memoryCase, {bench::Role::limit, "220 bytes", holdBytes});
        registry.add(demandCase, {bench::Role::limit, "pread and unpack",
                                  [](std::size_t count)
                                  {
                                      static const std::vector<unsigned> order = anyOrder(demandCount);
                                      static std::vector<std::pair<off_t, std::size_t>> places;
                                      static const int file = [&]
                                      {
                                          std::string all;
                                          std::string bytes;
                                          for (const auto& handle : shots().handles)
                                          {
                                              packShot(bytes, *handle->shot);
                                              places.emplace_back(all.size(), bytes.size());
                                              all += bytes;
                                          }
                                          const std::string path = folder() / "flat";
                                          const int made = ::open(path.c_str(), O_RDWR | O_CREAT, 0600);
                                          require(::write(made, all.data(), all.size()) == ssize_t(all.size()));
                                          return made;
                                      }();
                                      static std::size_t next = 0;
                                      char bytes[512];
                                      for (; count != 0; --count)
                                      {
                                          const auto& [start, length] = places[order[next++ % order.size()]];
                                          require(::pread(file, bytes, length, start) == ssize_t(length));
                                          auto shot = readShot(std::string_view(bytes, length));
                                          bench::keep(shot);
                                      }
                                  }});
    });

} // namespace
