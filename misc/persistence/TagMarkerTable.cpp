#include "misc/persistence/TagMarkerTable.h"

#include "Mw/Assert.h"
#include "OS/FileMgr.h"
#include "OS/OS.h"
#include "libmw/Text.h"
#include "misc/persistence/ObjectOutline.h"
#include "misc/persistence/StreamObjectManager.h"
#include "misc/persistence/SwapReport.h"
#include "misc/persistence/SwapRewrite.h"
#include "misc/settings/Directories.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace
{

using Text = LightweightString<char>;
using Path = LightweightString<wchar_t>;

// The one lock, ready before any static constructor.
constinit CriticalSection tablesLock("TagMarkerTable");

// What this thread reads: the innermost table, and how many objects within each other.
thread_local TagMarkerTable* tableBeingRead = nullptr;
thread_local int readingDepth = 0;

constexpr std::uint64_t largestFileBytes = std::numeric_limits<std::uint32_t>::max();
// Reading a whole file, so much is read at once where less than a usual object is left of the time before.
constexpr std::uint64_t readAheadBytes = 128 * 1024;
constexpr std::size_t largestSmallObjectBytes = 4 * 1024;

constexpr const char* location = "misc/tag";

Text lineNumber(int line)
{
    Text text;
    return text += line;
}

void tellInvalid(const char* function, const Text& type, int line)
{
    reportSwap("TagMarkerTable::" + Text(function) + ", invalid taggable candidate (" + type + ") at line " +
               lineNumber(line) + ", file " + location);
}

Text typeOf(const Mw::Ptr<Streamable>& object)
{
    return object ? object->className() : Text("of no registered class");
}

Path withDot(const Path& extension)
{
    return extension.empty() || extension[0] == L'.' ? extension : L"." + extension;
}

} // namespace

// While one stands, slots stay where they are, and markers that are destroyed live on.
class TagMarkerTable::Walk
{
public:
    explicit Walk(TagMarkerTable& table) : table_(table) { ++table_.walks_; }
    ~Walk()
    {
        if (--table_.walks_ != 0)
            return;
        table_.closeGaps();
        std::exchange(table_.leaving_, {}).clear();
    }
    Walk(const Walk&) = delete;
    Walk& operator=(const Walk&) = delete;

private:
    TagMarkerTable& table_;
};

TagMarkerTable::Reading::Reading(TagMarkerTable& table) noexcept
    : busy_(table), before_(std::exchange(tableBeingRead, &table))
{
    ++readingDepth;
}

TagMarkerTable::Reading::~Reading()
{
    tableBeingRead = before_;
    --readingDepth;
}

CriticalSection& TagMarkerTable::getTablesLock() noexcept
{
    return tablesLock;
}

TagMarkerTable* TagMarkerTable::beingRead() noexcept
{
    return tableBeingRead;
}

TagMarkerTable::TagMarkerTable(const Path& directory, const Cookie& cookie, const Path& extension)
    : cookie_(cookie), directory_(directory), extension_(withDot(extension))
{
}

TagMarkerTable::~TagMarkerTable()
{
    clear();
}

void TagMarkerTable::init()
{
    const CriticalSection::Lock locked(*lock_);
    if (!refuses("init"))
        clear();
}

// Markers and objects lie all over the memory: those of the next slots are on their way while one is in hand.
void TagMarkerTable::askAhead(const std::vector<Mw::Ptr<TagMarker>>& markers, std::size_t slot)
{
    constexpr std::size_t markersAhead = 16;
    constexpr std::size_t objectsAhead = 8;
    constexpr std::size_t lineBytes = 64;
    constexpr std::size_t linesOfMarker = 2;
    constexpr std::size_t linesOfObject = 4; // whose size nobody knows
    const auto ask = [](const void* place, std::size_t lines)
    {
        for (std::size_t line = 0; line < lines; ++line)
            __builtin_prefetch(
                reinterpret_cast<const void*>(reinterpret_cast<std::uintptr_t>(place) + line * lineBytes));
    };
    const std::size_t last = markers.size() - 1;
    ask(markers[std::min(slot + markersAhead, last)].get(), linesOfMarker);
    if (const TagMarker* const next = markers[std::min(slot + objectsAhead, last)].get())
        ask(next->object_.get(), linesOfObject);
}

bool TagMarkerTable::refuses(const char* function) const
{
    if (busy_ != 0)
        reportSwap("TagMarkerTable::" + Text(function) + " asked for by an object that is read or packed\n");
    return busy_ != 0;
}

void TagMarkerTable::clear()
{
    const CriticalSection::Lock locked(*lock_);
    file_ = nullptr;
    completed_.reset();
    closed_ = createNew_ = keepsUnread_ = opening_ = false;
    storedName_.clear();
    storedBytes_ = 0;
    awaited_.clear();
    uncovered_.clear();
    unread_ = {};
    destroyed_.clear();
    // Objects that go may have handles to others, and ask for them.
    idMap_.clear();
    idBlocks_.release();
    gaps_ = 0;
    std::vector<Mw::Ptr<TagMarker>> markers = std::exchange(markers_, {});
    for (std::size_t slot = 0; slot < markers.size(); ++slot)
    {
        askAhead(markers, slot);
        if (const Mw::Ptr<TagMarker> marker = std::move(markers[slot]))
        {
            marker->slot_ = TagMarker::noSlot;
            marker->detach();
        }
    }
}

Path TagMarkerTable::fileName() const
{
    const CriticalSection::Lock locked(*lock_);
    return Mw::joinPath(directory_, cookie_.asWString() + extension_);
}

Path TagMarkerTable::extension() const
{
    const CriticalSection::Lock locked(*lock_);
    return extension_;
}

Cookie TagMarkerTable::pId() const
{
    const CriticalSection::Lock locked(*lock_);
    return cookie_;
}

void TagMarkerTable::extension(const Path& extension)
{
    const CriticalSection::Lock locked(*lock_);
    extension_ = withDot(extension);
}

void TagMarkerTable::pId(const Cookie& cookie)
{
    const CriticalSection::Lock locked(*lock_);
    cookie_ = cookie;
}

unsigned TagMarkerTable::size() const
{
    const CriticalSection::Lock locked(*lock_);
    return static_cast<unsigned>(markers_.size()) - gaps_;
}

Mw::Ptr<TagMarker> TagMarkerTable::find(const IdStamp& id) const
{
    const CriticalSection::Lock locked(*lock_);
    const auto found = idMap_.find(id);
    return found != idMap_.end() ? found->second : nullptr;
}

std::vector<Mw::Ptr<TagMarker>> TagMarkerTable::markers() const
{
    const CriticalSection::Lock locked(*lock_);
    std::vector<Mw::Ptr<TagMarker>> all;
    all.reserve(size());
    for (const Mw::Ptr<TagMarker>& marker : markers_)
        if (marker)
            all.push_back(marker);
    return all;
}

// Mostly of the class of the one before, so that it needs no look at the bases of its class.
Mw::Ptr<Taggable> TagMarkerTable::asTaggable(Mw::Ptr<Streamable>&& object)
{
    if (!object)
        return {};
    const Streamable& read = *object;
    const std::type_info* const type = &typeid(read);
    if (type == lastTaggable_)
        return Mw::staticCast<Taggable>(std::move(object));
    Mw::Ptr<Taggable> taggable = Mw::dynamicCast<Taggable>(std::move(object));
    if (taggable)
        lastTaggable_ = type;
    return taggable;
}

const TagTypeId& TagMarkerTable::shared(const Text& kind)
{
    if (lastType_ == nullptr || (lastType_->id().c_str() != kind.c_str() && lastType_->id() != kind))
        lastType_ = &*types_.insert(TagTypeId(kind)).first;
    return *lastType_;
}

void TagMarkerTable::append(Mw::Ptr<TagMarker> marker)
{
    marker->table_ = this;
    marker->slot_ = static_cast<std::uint32_t>(markers_.size()) & TagMarker::noSlot;
    // Stamps mostly grow, and so do those of a file.
    idMap_.try_emplace(idMap_.end(), marker->id(), marker);
    markers_.push_back(std::move(marker));
}

void TagMarkerTable::remove(const Mw::Ptr<TagMarker>& marker)
{
    if (const auto entry = idMap_.find(marker->id()); entry != idMap_.end() && entry->second == marker)
        idMap_.erase(entry);
    if (marker->length_ != 0)
        destroyed_.emplace_back(marker->position_, marker->id());
    Mw::Ptr<TagMarker> kept = std::move(markers_[marker->slot_]);
    kept->slot_ = TagMarker::noSlot;
    if (walks_ != 0)
        leaving_.push_back(std::move(kept));
    ++gaps_;
    closeGaps();
}

void TagMarkerTable::closeGaps()
{
    if (walks_ != 0 || gaps_ <= markers_.size() / 2)
        return;
    markers_.erase(std::remove(markers_.begin(), markers_.end(), nullptr), markers_.end());
    gaps_ = 0;
    for (std::uint32_t slot = 0; slot < markers_.size(); ++slot)
        markers_[slot]->slot_ = slot & TagMarker::noSlot;
}

void TagMarkerTable::buildIdMap()
{
    const CriticalSection::Lock locked(*lock_);
    idMap_.clear();
    for (const Mw::Ptr<TagMarker>& marker : markers_)
        if (marker)
            idMap_.try_emplace(idMap_.end(), marker->id(), marker);
}

Mw::Ptr<TagMarker> TagMarkerTable::intern(const Mw::Ptr<Taggable>& object)
{
    const CriticalSection::Lock locked(*lock_);
    return intern(Mw::Ptr<TagMarker>(new TagMarker(*this, object)));
}

Mw::Ptr<TagMarker> TagMarkerTable::intern(const Mw::Ptr<TagMarker>& marker)
{
    const CriticalSection::Lock locked(*lock_);
    if (!marker || (marker->table_ == this && marker->slot_ != TagMarker::noSlot))
        return marker;
    if (marker->slot_ != TagMarker::noSlot && !marker->table_->extract(marker))
        return {};
    if (!marker->ttid_.empty())
        marker->ttid_ = shared(marker->ttid_.id());
    append(marker);
    return marker;
}

bool TagMarkerTable::extract(const Mw::Ptr<TagMarker>& marker)
{
    const CriticalSection::Lock locked(*lock_);
    if (!marker || marker->table_ != this || marker->slot_ == TagMarker::noSlot)
        return false;
    if (marker->length_ != 0 && !marker->demand())
        return false;
    remove(marker);
    marker->table_ = nullptr;
    marker->setPlace(0, 0);
    return true;
}

bool TagMarkerTable::destroyMarker(const IdStamp& id)
{
    const CriticalSection::Lock locked(*lock_);
    return destroyMarker(find(id));
}

bool TagMarkerTable::destroyMarker(const Mw::Ptr<TagMarker>& given)
{
    const CriticalSection::Lock locked(*lock_);
    const Mw::Ptr<TagMarker> marker = given; // may be the table's own
    if (!marker || marker->table_ != this || marker->slot_ == TagMarker::noSlot)
        return false;
    remove(marker);
    marker->detach();
    return true;
}

Mw::Ptr<TagMarker> TagMarkerTable::markerForHandle(const IdStamp& id)
{
    const CriticalSection::Lock locked(*lock_);
    if (const auto found = idMap_.find(id); found != idMap_.end())
        return found->second;
    if (!opening_)
        return Mw::Ptr<TagMarker>(new TagMarker(id));
    Mw::Ptr<TagMarker>& awaited = awaited_[id];
    if (!awaited)
        awaited = Mw::Ptr<TagMarker>(new TagMarker(id));
    return awaited;
}

void TagMarkerTable::openSwap(Mw::Ptr<TagMarkerTable>& result, const Path& directory, const Cookie& cookie,
                              bool& failed, iFile::eOpenBehaviour behaviour, const Path& extension)
{
    const CriticalSection::Lock locked(tablesLock);
    const bool isEdit = cookie.type() == Cookie::invalidType && behaviour == iFile::eOpenExisting;
    const Mw::Ptr<TagMarkerTable> table(
        new TagMarkerTable(directory, cookie, isEdit ? getEditFilenameExt() : extension));
    result = table;
    failed = true;
    Text reason;
    const auto read = [&] { return table->openFile(behaviour) && (!table->completed_ || table->internAll()); };
    failed = !runCatching(reason, read);
    if (reason.empty())
        return;
    table->clear();
    table->createNew_ = true;
    reportSwap("TagMarkerTable::openSwap failed to open file:" + toUTF8(table->fileName()) + "\n");
    reportSwap(reason + "\n");
}

bool TagMarkerTable::openFile(iFile::eOpenBehaviour behaviour)
{
    const Path name = fileName();
    // The first flush makes the file. It replaces none that was not read.
    createNew_ = behaviour != iFile::eCreateAlways;
    if (behaviour != iFile::eOpenExisting && behaviour != iFile::eOpenAlways)
        return true;
    if (behaviour == iFile::eOpenAlways)
        if (const auto there = OS().fileMgr().status(name); there && !there->exists)
            return true;
    completed_ = std::make_unique<StreamFile>();
    if (completed_->open(name, iFile::eOpenExisting))
    {
        file_ = completed_.get();
        return true;
    }
    completed_.reset();
    reportSwap("TagMarkerTable::openSwap failed to open file:" + toUTF8(name) + "\n");
    return false;
}

template <class Take>
bool TagMarkerTable::readAll(StreamFile& file, const char* function, std::vector<Span>& uncovered, Span& unread,
                             Take take)
{
    const Reading reading(*this);
    const std::uint64_t size = file.size();
    PStream stream(&file);
    bool whole = true;
    Span place;
    for (; !file.eof(); place.position += place.length)
    {
        if (file.cached().size() < largestSmallObjectBytes)
            file.cacheForward(place.position + readAheadBytes);
        Mw::Ptr<Streamable> object = theSOManager().readObject(stream);
        place.length = file.position() - place.position;
        if (!stream.failed() && place.length == 0)
            stream.append("an object without a header");
        if (!stream.failed() && file.position() > largestFileBytes)
            stream.append("the file is longer than 4 GiB");
        if (stream.failed())
            break;
        const std::uint64_t end = file.position();
        const bool isKnown = static_cast<bool>(object);
        Mw::Ptr<Taggable> taggable = asTaggable(std::move(object));
        if (!taggable)
            tellInvalid(function, typeOf(object), __LINE__);
        // Into an object of an unknown class nobody has looked yet.
        const bool fits = isKnown || ObjectOutline(file, place.position).isWhole();
        if (!fits)
            reportSwap("TagMarkerTable::" + Text(function) + ", a damaged object is left out\n");
        file.setPosition(end);
        whole = whole && fits;
        if (!taggable || !fits || !take(taggable, place))
            uncovered.push_back(place);
    }
    if (!file.lastError().empty())
        stream.append(file.lastError());
    if (!stream.failed())
        return whole;
    unread = {place.position, size - place.position};
    reportSwap("TagMarkerTable::" + Text(function) + " stream error:" + stream.asString() + "\n");
    return false;
}

bool TagMarkerTable::internAll()
{
    storedName_ = completed_->path();
    storedBytes_ = completed_->size();
    opening_ = true;
    const bool whole = readAll(*completed_, "openSwap", uncovered_, unread_,
                               [&](Mw::Ptr<Taggable>& object, const Span& place)
                               {
                                   internRead(std::move(object), place);
                                   return true;
                               });
    opening_ = false;
    awaited_.clear();
    keepsUnread_ = !whole;
    createNew_ = false;
    return whole;
}

void TagMarkerTable::internRead(Mw::Ptr<Taggable> object, const Span& place)
{
    Mw::Ptr<TagMarker> marker;
    if (!object->id().valid())
        marker = Mw::Ptr<TagMarker>(new TagMarker(*this, object));
    else if (const auto awaited = awaited_.empty() ? awaited_.end() : awaited_.find(object->id());
             awaited != awaited_.end())
    {
        marker = std::move(awaited->second);
        awaited_.erase(awaited);
    }
    else
        marker = Mw::Ptr<TagMarker>(new TagMarker(*this, object->id()));
    marker->table_ = this;
    marker->object_ = std::move(object);
    marker->keepType();
    marker->setPlace(place.position, place.length);
    const std::size_t idsBefore = idMap_.size();
    append(std::move(marker));
    if (idMap_.size() == idsBefore)
        reportSwap("TagMarkerTable::openSwap, a further object with the id " + markers_.back()->id().asString() +
                   ", which the first one keeps\n");
}

bool TagMarkerTable::reOpen()
{
    const CriticalSection::Lock locked(*lock_);
    MW_ASSERT_AT(file_ == NULL, location);
    if (refuses("reOpen") || !findPlaces(storedName_.empty() ? fileName() : storedName_))
        return false;
    file_ = completed_.get();
    closed_ = false;
    return true;
}

bool TagMarkerTable::findPlaces(const Path& name)
{
    struct Found
    {
        TagMarker* marker;
        Span place;
    };
    std::multimap<IdStamp, TagMarker*> expected;
    std::map<std::uint64_t, TagMarker*> byPlace;
    for (const Mw::Ptr<TagMarker>& marker : markers_)
        if (marker)
        {
            expected.emplace(marker->id(), marker.get());
            if (marker->length_ != 0)
                byPlace.emplace_hint(byPlace.end(), marker->position_, marker.get());
        }
    std::sort(destroyed_.begin(), destroyed_.end());
    // Ids may be there twice or not yet be stored, but mostly this is the file that it was.
    const auto find = [&](const IdStamp& id, const Span& place)
    {
        if (const auto marker = byPlace.find(place.position);
            marker != byPlace.end() && (marker->second->id() == id || !id.valid()))
        {
            const auto [first, last] = expected.equal_range(marker->second->id());
            return std::find_if(first, last, [&](const auto& entry) { return entry.second == marker->second; });
        }
        return expected.find(id);
    };
    const auto isDestroyed = [&](const IdStamp& id, const Span& place)
    {
        const Destroyed key = {static_cast<std::uint32_t>(place.position), IdStamp(0, 0, 0)};
        const auto one = std::lower_bound(destroyed_.begin(), destroyed_.end(), key);
        return one != destroyed_.end() && one->first == place.position && (one->second == id || !id.valid());
    };
    std::vector<Found> found;
    std::vector<Span> uncovered;
    Span unread;
    auto file = std::make_unique<StreamFile>();
    if (!file->open(name, iFile::eOpenExisting))
        return false;
    const auto take = [&](const Mw::Ptr<Taggable>& object, const Span& place)
    {
        if (isDestroyed(object->id(), place))
            return true;
        const auto marker = find(object->id(), place);
        if (marker == expected.end())
        {
            // After a flush whose folder could not be flushed, the places in the file are others than ours.
            if (std::any_of(destroyed_.begin(), destroyed_.end(),
                            [&](const Destroyed& one) { return object->id().valid() && one.second == object->id(); }))
                return true;
            tellInvalid("reOpen()", object->tagTypeId().id(), __LINE__);
            return false;
        }
        found.push_back({marker->second, place});
        expected.erase(marker);
        return true;
    };
    Text reason;
    if (!runCatching(reason, [&] { return readAll(*file, "reOpen()", uncovered, unread, take), true; }))
    {
        reportSwap("TagMarkerTable::reOpen(), " + reason + "\n");
        return false;
    }
    const auto isLost = [](const auto& entry) { return entry.second->length_ != 0 && !entry.second->object_; };
    if (const auto lost = std::find_if(expected.begin(), expected.end(), isLost); lost != expected.end())
    {
        reportSwap("TagMarkerTable::reOpen(), the file lacks the object " + lost->first.asString() + "\n");
        return false;
    }
    for (const auto& [id, marker] : expected)
        marker->length_ = 0;
    for (const Found& one : found)
        one.marker->setPlace(one.place.position, one.place.length);
    uncovered_ = std::move(uncovered);
    // An end that was there before has been kept already, or will be.
    keepsUnread_ = keepsUnread_ || unread.length > unread_.length;
    unread_ = unread;
    storedName_ = name;
    storedBytes_ = file->size();
    createNew_ = false;
    completed_ = std::move(file);
    return true;
}

StreamFile* TagMarkerTable::openCompleted()
{
    const bool mayMove = busy_ == 0 && readingDepth == 0;
    if (completed_ && !completed_->lastError().empty() && mayMove)
    {
        file_ = nullptr;
        completed_.reset();
    }
    if (!completed_ && storedBytes_ != 0 && mayMove)
        findPlaces(storedName_);
    return completed_.get();
}

StreamFile* TagMarkerTable::fileToRead()
{
    if (closed_)
        return nullptr;
    file_ = openCompleted();
    return file_;
}

template <class Sink>
bool TagMarkerTable::forEachStored(Sink&& sink)
{
    const Walk walk(*this);
    auto bytes = uncovered_.cbegin();
    for (std::size_t slot = 0; slot < markers_.size(); ++slot)
    {
        askAhead(markers_, slot);
        TagMarker* const marker = markers_[slot].get();
        if (marker == nullptr || (marker->length_ == 0 && !marker->object_))
            continue;
        // What no marker covers keeps its place; new objects stand behind it.
        for (; bytes != uncovered_.cend() && (marker->length_ == 0 || bytes->position < marker->position_); ++bytes)
            if (!sink.carry(*bytes))
                return false;
        if (!(marker->object_ ? sink.write(*marker) : sink.carry(*marker)))
            return false;
    }
    for (; bytes != uncovered_.cend(); ++bytes)
        if (!sink.carry(*bytes))
            return false;
    return sink.finish(unread_);
}

bool TagMarkerTable::modified()
{
    const CriticalSection::Lock locked(*lock_);
    const Path name = fileName();
    if (!storedName_.empty() && storedName_ != name)
        return true;
    if (storedName_.empty())
        if (const auto there = OS().fileMgr().status(name); !there || there->exists)
            return true;
    openCompleted();
    const auto compare = [&] { return forEachStored(SwapComparison(*this)); };
    const bool differs = !compare();
    closeIfClosed();
    return differs;
}

bool TagMarkerTable::isStored(const TagMarker& marker)
{
    openCompleted();
    const bool same = SwapComparison(*this).isStored(marker);
    closeIfClosed();
    return same;
}

void TagMarkerTable::closeIfClosed()
{
    if (closed_ && busy_ == 0 && walks_ == 0)
        completed_.reset();
}

bool TagMarkerTable::flush(const Path& given)
{
    const CriticalSection::Lock locked(*lock_);
    if (readOnly_ || refuses("flush"))
        return false;
    iFileMgr& files = OS().fileMgr();
    const Path own = fileName();
    const bool isOwn = given.empty() || given == own || files.resolve(given) == files.resolve(own);
    const Path name = isOwn ? own : given;
    const Rewritten result = rewrite(name, isOwn);
    if (result == eNotOpened && debugMode_)
        herc_printf("Failed to open swap file %s in TagMarkerTable::flush()", toUTF8(name).c_str());
    return result == eRewritten;
}

TagMarkerTable::Rewritten TagMarkerTable::rewrite(const Path& name, bool own)
{
    if (refuses("flush") || (own && keepsUnread_ && !keepUnread()))
        return eNotWritten;
    openCompleted();
    const Rewritten result = replace(name, own);
    closeIfClosed();
    return result;
}

TagMarkerTable::Rewritten TagMarkerTable::replace(const Path& name, bool own)
{
    auto out = std::make_unique<StreamFile>();
    if (!out->open(name, own && createNew_ ? iFile::eCreateNew : iFile::eCreateAlways))
        return eNotOpened;
    if (debugMode_)
        herc_printf("Flushing %s\n", toUTF8(name).c_str());
    const Walk walk(*this); // until the places are taken over, which go by slots
    SwapRewrite pieces(*this, *out);
    if (!forEachStored(pieces))
    {
        reportSwap("TagMarkerTable::flush, " + toUTF8(name) + " is left as it was: " + pieces.error() + "\n");
        return eNotWritten;
    }
    const bool written = out->flush();
    if (own && out->isInPlace())
        createNew_ = false; // what is there is this table's, on the disk or not yet
    if (written && own)
    {
        pieces.commit();
        file_ = nullptr;
        completed_ = std::move(out);
        storedName_ = name;
        destroyed_.clear();
    }
    return written ? eRewritten : eNotWritten;
}

bool TagMarkerTable::keepUnread()
{
    iFileMgr& files = OS().fileMgr();
    for (long n = 1;; ++n)
    {
        const Path kept = storedName_ + L".unread-" + Mw::WStringFromInteger(n);
        const auto there = files.status(kept);
        if (there && there->exists)
            continue;
        keepsUnread_ = !there || !files.copy(storedName_, kept);
        if (keepsUnread_)
            reportSwap("TagMarkerTable::flush, " + toUTF8(storedName_) + " can't be kept as " + toUTF8(kept) + ": " +
                       files.lastError() + "\n");
        return !keepsUnread_;
    }
}

bool TagMarkerTable::store(Rewritten& result)
{
    result = eRewritten;
    const bool mustWrite = modified() || storedName_.empty();
    if (mustWrite)
        result = readOnly_ ? eNotWritten : rewrite(fileName(), true);
    return result == eRewritten;
}

bool TagMarkerTable::displaceAll()
{
    const CriticalSection::Lock locked(*lock_);
    Rewritten result;
    const bool all = displaceAll(result);
    closeIfClosed();
    return all;
}

bool TagMarkerTable::displaceAll(Rewritten& result)
{
    bool isStored = store(result);
    const Walk walk(*this);
    const auto mayLeave = [&](const TagMarker& marker) { return isStored || !marker.modified(); };
    std::vector<Mw::Ptr<TagMarker>> told;
    bool all = true;
    for (std::size_t slot = 0; slot < markers_.size(); ++slot)
        if (TagMarker* const marker = markers_[slot].get(); marker != nullptr && marker->object_)
        {
            const bool leaves = mayLeave(*marker);
            all = all && leaves;
            if (!leaves)
                continue;
            told.push_back(markers_[slot]);
            marker->tellDisplaced();
        }
    // Objects that are told may change others, and bring new ones.
    if (isStored)
        isStored = store(result);
    for (const Mw::Ptr<TagMarker>& marker : told)
        if (mayLeave(*marker))
            marker->drop();
        else
            all = false;
    return all;
}

unsigned TagMarkerTable::purge()
{
    const CriticalSection::Lock locked(*lock_);
    unsigned purged = 0;
    {
        const Walk walk(*this); // a closed table's file is opened once
        for (const Mw::Ptr<TagMarker>& marker : markers())
            purged += marker->purge();
    }
    closeIfClosed();
    return purged;
}

bool TagMarkerTable::loadAll()
{
    const CriticalSection::Lock locked(*lock_);
    bool all = true;
    for (const Mw::Ptr<TagMarker>& marker : markers())
        all = (marker->demand() || !marker->isPersistant()) && all;
    return all;
}

bool TagMarkerTable::closeSwap(bool write)
{
    const CriticalSection::Lock locked(*lock_);
    if (readOnly_ || closed_)
        return true;
    if (refuses("closeSwap"))
        return false;
    if (debugMode_)
        reportSwap("Closing Swap " + toUTF8(directory_) + " " + cookie_.asString(true) + toUTF8(extension_) + "\n");
    Rewritten result = eRewritten;
    const bool stored = !write || displaceAll(result);
    if (result == eNotOpened)
        herc_printf("Failed to open swap file %s in TagMarkerTable::flush()", toUTF8(fileName()).c_str());
    file_ = nullptr;
    completed_.reset();
    closed_ = true;
    return stored;
}

Text TagMarkerTable::asString() const
{
    const CriticalSection::Lock locked(*lock_);
    Text text = toUTF8(fileName());
    text += ", ";
    text += size();
    text += closed_ ? " objects, closed\n" : " objects\n";
    for (const Mw::Ptr<TagMarker>& marker : markers())
        text += marker->objectInfo(false);
    return text;
}
