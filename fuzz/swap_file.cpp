#include "OS/testing/MemoryFileMgr.h"
#include "misc/diagnostics/Log.h"
#include "misc/persistence/ObjectOutline.h"
#include "misc/persistence/TagBase.h"
#include "misc/persistence/TagMarkerTable.h"

#include <cstdlib>

struct Shot : StreamableLayer<Shot, Taggable>
{
    static constexpr StreamLayerNames layerNames = {"Sh", "Shot"};
    void pack(PStream& stream) const { stream << number << name << next; }
    void unpack(PStream& stream) { (stream >> number >> name >> next, next.realize()); }
    int number = 0;
    LightweightString<char> name;
    TagBase next;
};
static const StreamClassRegistrar registrar = StreamClassRegistrar::of<Shot>();

// A table of any bytes can be asked everything, and stores what stays the same when it is stored again.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t sizeBytes)
{
    static std::FILE* const nowhere = std::fopen("/dev/null", "w");
    SetLogOutput(nowhere);
    MemoryFileMgr disk;
    const OSReplacement<iFileMgr> replaced(disk);
    const Cookie cookie('P', 1, 0, 1);
    Mw::Ptr<TagMarkerTable> table(new TagMarkerTable(L"/tmp", cookie, L"odb"));
    Mw::replaceFile(table->fileName(), data, sizeBytes);
    bool failed = false;
    TagMarkerTable::openSwap(table, L"/tmp", cookie, failed, iFile::eOpenExisting, L"odb");
    bool good = table->flush() && !table->modified() && table->displaceAll() && table->reOpen() && table->loadAll();
    for (const Mw::Ptr<TagMarker>& marker : table->markers())
        good = good && !marker->objectInfo(true).empty() && !marker->tagTypeId().empty() && marker->displace();
    for (std::uint64_t at = 0; good && at < table->swapFile()->size();)
        at += std::max<std::uint64_t>(ObjectOutline(*table->swapFile(), at).length(), 1);
    return good ? 0 : (std::abort(), 1);
}
