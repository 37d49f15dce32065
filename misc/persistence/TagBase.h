#pragma once

#include "misc/persistence/StreamObjectManager.h"
#include "misc/persistence/StreamableLayer.h"
#include "misc/persistence/TagMarker.h"

// The handle by which applications and stored objects refer to an object of a table: whoever asks gets the
// object, from memory or from the file. Copies refer to the same object. Stored, a handle is the id of its
// marker, which is looked up in the table that is being read; a handle to an object that the table doesn't have
// keeps the id and has no object. What a handle without an object does is nothing, and null.
//
// One handle is one thread's at a time; the marker is anyone's.
class MISC_API TagBase : public StreamableLayer<TagBase, Streamable>
{
public:
    static constexpr StreamLayerNames layerNames = {"P", "TagBase"};

    TagBase() = default;
    explicit TagBase(BuilderType type) noexcept : StreamableLayer(type) {}
    explicit TagBase(const Mw::Ptr<TagMarker>& marker) : marker_(marker) {}
    TagBase(const TagBase&) = default;
    TagBase& operator=(const TagBase&) = default;

    const Mw::Ptr<TagMarker>& marker() const noexcept { return marker_; }
    // The marker's id; not valid without one.
    IdStamp gid() const;

    // The object, as TagMarker::demand gives it; the same as another class, null if it is none.
    Mw::Ptr<Taggable> demand() const;
    template <class Class>
    Mw::Ptr<Class> demandAs() const
    {
        return Mw::dynamicCast<Class>(demand());
    }
    // Brings the object into memory; false if there is none.
    bool realize() const { return static_cast<bool>(demand()); }
    // Whether the object is stored and not in memory.
    bool swapped() const;

    // As those of TagMarker; false without a marker.
    bool flush() const;
    bool displace() const;
    bool purge() const;
    void destroy() const;
    // As those of Taggable, of the object.
    void destroyChildren() const;
    Mw::Ptr<Streamable> clone(BuilderType type) override;
    Mw::Ptr<Taggable> cloneObject() const;
    Mw::Ptr<Taggable> cloneWithChildren() const;

    // What the object prints; what the marker is, which is what the handle prints.
    LightweightString<char> objectAsString() const;
    void printOn(GrowString& text) const override;

    void pack(PStream& stream) const;
    void unpack(PStream& stream);

private:
    static const StreamClassRegistrar STRM_L_TagBase_registrar_;

    Mw::Ptr<TagMarker> marker_;
};
