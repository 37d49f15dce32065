#pragma once

#include "OS/Export.h"
#include "misc/identity/IdStamp.h"
#include "misc/persistence/StreamableLayer.h"
#include "misc/persistence/TagTypeId.h"

// Base of the objects that a TagMarkerTable stores. A class derives from it by way of StreamableLayer, like any
// persistent class, and is registered (StreamObjectManager.h).
//
// An object in a table has its marker's id, and its kind is the name of its class unless it is given another. A
// copy has no id yet. The table tells the object what becomes of it while the lock of all tables is held, and so
// run `pack`, `unpack` and often the destructor; what is told does nothing here.
class MISC_API Taggable : public StreamableLayer<Taggable, Streamable>
{
public:
    static constexpr StreamLayerNames layerNames = {"T", "Taggable"};

    Taggable() = default;
    explicit Taggable(BuilderType type) noexcept : StreamableLayer(type) {}

    // The id of the marker that stored the object or was made for it last; not valid before.
    const IdStamp& id() const noexcept { return id_; }

    // Dotted text that begins with "Taggable."; an object of another kind can't be packed.
    TagTypeId tagTypeId() const { return TagTypeId(kind()); }
    void tagTypeId(const TagTypeId& ttid) { ttid_ = ttid; }

    void pack(PStream& stream) const;
    void unpack(PStream& stream);

    // Whether this is the other object; a class whose objects stand in for one another says more.
    virtual bool isSameInstance(const Taggable& other) const;
    // Destroys the objects of which this one is the only owner.
    virtual void destroyChildren();
    // The object is stored and about to leave memory.
    virtual void displaceNotify();
    // For owners that delete an object themselves: tables don't call it.
    virtual void preDeleteNotify();
    // The object's marker is about to be destroyed; is destroyed now.
    virtual void preDestroyNotify();
    virtual void destroyNotify();
    // A copy that has copies of the object's children: by default what `clone` gives.
    virtual Mw::Ptr<Streamable> cloneWithChildren();

protected:
    Taggable(const Taggable& other) : InternalRefCount(other), StreamableLayer(other), ttid_(other.ttid_) {}
    // The object keeps its id.
    Taggable& operator=(const Taggable& other);

private:
    friend class TagMarker;

    // The text of tagTypeId().
    const LightweightString<char>& kind() const { return ttid_.empty() ? STRM_className() : ttid_.id(); }

    IdStamp id_ = IdStamp(0, 0, 0);
    TagTypeId ttid_; // empty for that of the class
};
