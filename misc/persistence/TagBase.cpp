#include "misc/persistence/TagBase.h"

#include "misc/persistence/TagMarkerTable.h"

const StreamClassRegistrar TagBase::STRM_L_TagBase_registrar_ = StreamClassRegistrar::of<TagBase>();

IdStamp TagBase::gid() const
{
    return marker_ ? marker_->id() : IdStamp(0, 0, 0);
}

Mw::Ptr<Taggable> TagBase::demand() const
{
    return marker_ ? marker_->demand() : nullptr;
}

bool TagBase::swapped() const
{
    return marker_ && marker_->isDisplaced();
}

bool TagBase::flush() const
{
    return marker_ && marker_->flush();
}

bool TagBase::displace() const
{
    return marker_ && marker_->displace();
}

bool TagBase::purge() const
{
    return marker_ && marker_->purge();
}

void TagBase::destroy() const
{
    // The handle may be in the object that goes.
    if (const Mw::Ptr<TagMarker> marker = marker_)
        marker->destroy();
}

void TagBase::destroyChildren() const
{
    if (const Mw::Ptr<Taggable> object = demand())
        object->destroyChildren();
}

Mw::Ptr<Streamable> TagBase::clone(BuilderType type)
{
    const Mw::Ptr<Taggable> object = demand();
    return object ? object->clone(type) : nullptr;
}

Mw::Ptr<Taggable> TagBase::cloneObject() const
{
    const Mw::Ptr<Taggable> object = demand();
    return object ? Mw::dynamicCast<Taggable>(object->clone(eClone)) : nullptr;
}

Mw::Ptr<Taggable> TagBase::cloneWithChildren() const
{
    const Mw::Ptr<Taggable> object = demand();
    return object ? Mw::dynamicCast<Taggable>(object->cloneWithChildren()) : nullptr;
}

LightweightString<char> TagBase::objectAsString() const
{
    GrowString text;
    if (const Mw::Ptr<Taggable> object = demand())
        object->asString(text);
    return text.asString();
}

void TagBase::printOn(GrowString& text) const
{
    if (marker_)
        text.append(marker_->objectInfo(false));
}

void TagBase::pack(PStream& stream) const
{
    gid().pack(stream);
}

void TagBase::unpack(PStream& stream)
{
    const std::optional<IdStamp> id = IdStamp::ofText(stream.file()->readText());
    if (!id)
    {
        stream.append("TagBase object with a damaged id.");
        return;
    }
    TagMarkerTable* const table = TagMarkerTable::beingRead();
    marker_ = !id->valid()       ? nullptr
              : table != nullptr ? table->markerForHandle(*id)
                                 : Mw::Ptr<TagMarker>(new TagMarker(*id));
}
