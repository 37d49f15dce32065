#include "misc/persistence/TagMarker.h"

#include "Mw/Assert.h"
#include "OS/Immortal.h"
#include "libmw/Text.h"
#include "misc/persistence/MarkerBlocks.h"
#include "misc/persistence/RecentBytes.h"
#include "misc/persistence/StreamObjectManager.h"
#include "misc/persistence/SwapReport.h"
#include "misc/persistence/SwapRewrite.h"
#include "misc/persistence/TagMarkerTable.h"

#include <utility>

namespace
{

using Text = LightweightString<char>;

// Those of all tables, under their lock.
RecentBytes& recentBytes()
{
    return immortal<RecentBytes>();
}

IdStamp freeStamp(const TagMarkerTable& table)
{
    IdStamp stamp;
    while (table.find(stamp))
        stamp = IdStamp();
    return stamp;
}

} // namespace

TagMarker::TagMarker(TagMarkerTable&, const IdStamp& id) : IdentifiedBase(id) {}

TagMarker::TagMarker(TagMarkerTable& table, const Mw::Ptr<Taggable>& object) : IdentifiedBase(freeStamp(table))
{
    instance(object);
}

TagMarker::~TagMarker() = default;

// Sanitizers want to see the end of each marker.
void* TagMarker::operator new(std::size_t sizeBytes)
{
    return MW_TEXT_BLOCK_LISTS && sizeBytes == sizeof(TagMarker) ? MarkerBlocks::take(sizeBytes)
                                                                 : ::operator new(sizeBytes);
}

void TagMarker::operator delete(void* marker, std::size_t sizeBytes) noexcept
{
    if (MW_TEXT_BLOCK_LISTS && sizeBytes == sizeof(TagMarker))
        MarkerBlocks::give(marker);
    else
        ::operator delete(marker);
}

void TagMarker::lock() const
{
    TagMarkerTable::getTablesLock().enter();
}

void TagMarker::unlock() const
{
    TagMarkerTable::getTablesLock().leave();
}

TagMarkerTable* TagMarker::table() const
{
    const CriticalSection::Lock locked(TagMarkerTable::getTablesLock());
    return table_;
}

TagTypeId TagMarker::tagTypeId() const
{
    const CriticalSection::Lock locked(TagMarkerTable::getTablesLock());
    return ttid_;
}

std::uint32_t TagMarker::storedPosition() const
{
    const CriticalSection::Lock locked(TagMarkerTable::getTablesLock());
    return position_;
}

std::uint32_t TagMarker::storedLength() const
{
    const CriticalSection::Lock locked(TagMarkerTable::getTablesLock());
    return length_;
}

bool TagMarker::isDisplaced() const
{
    const CriticalSection::Lock locked(TagMarkerTable::getTablesLock());
    return length_ != 0 && !object_;
}

Mw::Ptr<Taggable> TagMarker::held() const
{
    const CriticalSection::Lock locked(TagMarkerTable::getTablesLock());
    return object_;
}

void TagMarker::instance(const Mw::Ptr<Taggable>& object)
{
    const CriticalSection::Lock locked(TagMarkerTable::getTablesLock());
    // The old object goes when this marker has the new one.
    const Mw::Ptr<Taggable> old = std::exchange(object_, object);
    if (!object_)
        return;
    object_->id_ = id();
    keepType();
}

void TagMarker::keepType()
{
    if (!isOfType(*object_))
        ttid_ = table_ != nullptr ? table_->shared(object_->kind()) : object_->tagTypeId();
}

bool TagMarker::isOfType(const Taggable& object) const
{
    const LightweightString<char>& kind = object.kind();
    return kind.c_str() == ttid_.id().c_str() || kind == ttid_.id();
}

Mw::Ptr<Taggable> TagMarker::demand()
{
    const CriticalSection::Lock locked(TagMarkerTable::getTablesLock());
    if (object_ || length_ == 0)
        return object_;
    const Mw::Ptr<Taggable> object = isRead_ ? nullptr : read();
    if (!object || table_ == nullptr) // a class may destroy the marker while it reads
    {
        reportSwap(" Object demand failure.\n");
        return {};
    }
    object_ = object;
    keepType();
    MW_ASSERT(ttid_.id() != "");
    MW_ASSERT(ttid_.id() != "Taggable.FXGraphNodeBase.EffectInstance.PlugInEffect");
    return object_;
}

Mw::Ptr<Taggable> TagMarker::read()
{
    StreamFile* const file = table_->fileToRead();
    if (file == nullptr)
        return {};
    // An object may ask for others while it is read, and for one that is being read already.
    struct Restore
    {
        ~Restore()
        {
            marker->isRead_ = false;
            file->setPosition(before);
        }
        const Mw::Ptr<TagMarker> marker;
        StreamFile* const file;
        const std::uint64_t before;
    };
    const TagMarkerTable::Reading reading(*table_);
    const Restore restore{Mw::Ptr<TagMarker>(this), file, file->position()};
    isRead_ = true;
    Mw::Ptr<Taggable> object;
    Text reason;
    const bool whole = runCatching(reason, [&] { return readFrom(*file, object); });
    if (!reason.empty())
        reportSwap(reason + "\n");
    if (!object || !whole || (object->id().valid() && object->id() != id()))
    {
        recent_ = 0;
        return {};
    }
    object->id_ = id();
    return object;
}

bool TagMarker::readFrom(StreamFile& file, Mw::Ptr<Taggable>& object)
{
    const std::uint64_t end = std::uint64_t{position_} + length_;
    const std::string_view recent = recentBytes().find(recent_, length_);
    file.setPosition(position_, recent);
    file.cacheForward(end);
    if (const std::string_view read = file.cached(); recent.empty() && read.size() >= length_)
        recent_ = recentBytes().keep(read.substr(0, length_));
    PStream stream(&file);
    object = table_->asTaggable(theSOManager().readObject(stream));
    return !stream.failed() && file.position() == end;
}

bool TagMarker::pack(PStream& stream) const
{
    // Written only if need be: others may look at it.
    if (object_->id_ != id())
        object_->id_ = id();
    Text reason;
    const auto packAll = [&] { return stream << *object_, !stream.failed(); };
    const bool packed = runCatching(reason, packAll);
    stream.append(reason);
    return packed;
}

bool TagMarker::modified() const
{
    const CriticalSection::Lock locked(TagMarkerTable::getTablesLock());
    return object_ && (length_ == 0 || table_ == nullptr || !table_->isStored(*this));
}

bool TagMarker::flush()
{
    const CriticalSection::Lock locked(TagMarkerTable::getTablesLock());
    return !modified() || (table_ != nullptr && slot_ != noSlot && table_->flush());
}

bool TagMarker::displace()
{
    const CriticalSection::Lock locked(TagMarkerTable::getTablesLock());
    if (!object_)
        return true;
    if (!flush())
        return false;
    tellDisplaced();
    // The object may have changed, or gone.
    if (!flush())
        return false;
    drop();
    return true;
}

void TagMarker::tellDisplaced() const
{
    if (const Mw::Ptr<Taggable> object = object_)
        object->displaceNotify();
}

bool TagMarker::purge()
{
    const CriticalSection::Lock locked(TagMarkerTable::getTablesLock());
    if (!object_ || object_.useCount() != 1 || modified())
        return false;
    tellDisplaced();
    if (modified())
        return false;
    drop();
    return true;
}

void TagMarker::drop()
{
    const CriticalSection::Lock locked(TagMarkerTable::getTablesLock());
    const Mw::Ptr<Taggable> object = std::move(object_);
}

void TagMarker::destroy()
{
    const CriticalSection::Lock locked(TagMarkerTable::getTablesLock());
    if (const Mw::Ptr<Taggable> object = demand())
    {
        object->preDestroyNotify();
        object->destroyNotify();
    }
    if (table_ != nullptr && slot_ != noSlot)
        table_->destroyMarker(Mw::Ptr<TagMarker>(this));
    else
        detach();
}

void TagMarker::detach()
{
    table_ = nullptr;
    setPlace(0, 0);
    const Mw::Ptr<Taggable> object = std::move(object_);
}

Text TagMarker::objectInfo(bool withObject) const
{
    const CriticalSection::Lock locked(TagMarkerTable::getTablesLock());
    Text text = id().asString();
    text += ' ';
    text += ttid_.id();
    text += length_ != 0 ? " at " : " not stored";
    if (length_ != 0)
    {
        text += position_;
        text += ", ";
        text += length_;
        text += " bytes";
    }
    if (object_)
        text += ", in memory";
    text += '\n';
    if (withObject && object_)
    {
        GrowString printed;
        object_->asString(printed);
        text += printed.view();
    }
    return text;
}
