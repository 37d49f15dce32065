#pragma once

#include "Mw/LightweightString.h"
#include "Mw/Ptr.h"
#include "OS/Export.h"
#include "misc/base/ByteBufferImpl.h"
#include "misc/base/GrowString.h"
#include "misc/persistence/PStream.h"

#include <cstdint>
#include <string_view>

template <class Class, class Base>
class StreamableTraits;
class StreamableTraitsBase;

// What packing and unpacking a layer comes to. The reason of each failure stands in the stream's text.
enum StreamStatus : int
{
    eStreamPacked = 2,
    eStreamUnpacked = 3, // the next layer may follow
    eStreamFailed = 6,
    eStreamWrongLayer = 7, // the record is that of another class
    eStreamUnexpectedEOF = 8
};

// What the headers read last said about the bytes that follow them.
class MISC_API StreamableChunkSizeHolder
{
protected:
    static constexpr unsigned unknownSize = 0xFFFFFFFFu;

    unsigned unpackedHierarchyChunkSize_ = unknownSize; // from the body to the end of the object
    unsigned followingChunkSize_ = unknownSize;         // of the layers behind the one read last
};

// Base of every persistent object. An object is stored as a run of layer records, one for each class of its
// hierarchy, this one first; docs/formats.md draws them. A class sees no more of it than the body of its own
// layer: misc/persistence/StreamableLayer.h says how it is made, in a few lines.
//
// Nothing here throws or locks: failures are text in the stream. One thread at a time.
class MISC_API Streamable : public StreamableChunkSizeHolder, public virtual iObject
{
public:
    // What an object was made for.
    enum BuilderType : unsigned char
    {
        eNormal = 0,
        eForReading = 1, // by a builder, to be unpacked
        eClone = 2,
        eHeaderOnly = 3 // to read the first layer of any object, whatever its class
    };

    using STRM_Traits = StreamableTraits<Streamable, void>;

    Streamable() = default;
    explicit Streamable(BuilderType type) noexcept : builderType_(type) {}
    // Takes over the revs alone.
    Streamable(BuilderType type, const Streamable& other) noexcept
        : majorRev_(other.majorRev_), minorRev_(other.minorRev_), builderType_(type)
    {
    }
    ~Streamable() override = default;

    // The layers from this one on. The status of the first that fails, else that of the last.
    virtual StreamStatus STRM_hierarchyUnpack(PStream& stream);
    virtual StreamStatus STRM_hierarchyPack(PStream& stream) const;

    // Appends what a person is shown of the object: its class.
    virtual void printOn(GrowString& text) const;
    // Takes over the contents of an object of the same class. A class that can do so overrides this, which
    // prints an assertion.
    virtual void assign(const Streamable* other);
    // The names of the object's layers in short or full form, joined by '.', base first. The layer of this
    // class is among them only if `first` is set.
    virtual LightweightString<char> hierarchyName(bool first, bool shortForm) const;
    // A copy of the object; null of one that can't be copied.
    virtual Mw::Ptr<Streamable> clone(BuilderType type);
    // hierarchyName(false, true) and hierarchyName(false, false), of which these are the class's own.
    // StreamableLayer sees to it.
    virtual const LightweightString<char>& STRM_storedName() const;
    virtual const LightweightString<char>& STRM_className() const;

    // The body of this layer: the object's hierarchy name in short form.
    void pack(PStream& stream) const;
    // Reads it. Another name than the object's is a failure, unless the object is one for headers only.
    void unpack(PStream& stream);

    static constexpr std::string_view shortLayerName() noexcept { return "$"; }
    static constexpr std::string_view layerName() noexcept { return "Streamable"; }
    // The hierarchy name of the class, without an object.
    static LightweightString<char> subHierarchyName(bool first, bool shortForm);
    // Joins this layer's name to the text, if `first` is set.
    void STRM_L_Streamable_buildHierarchyName(LightweightString<char>& text, bool first, bool shortForm) const;

    LightweightString<char> className() const { return hierarchyName(false, false); }
    // The text is cleared first.
    void asString(GrowString& text) const;
    // 0 for objects of one class, and for one object, or null, twice; else 1.
    static int compareTypes(const Streamable* a, const Streamable* b);

    // Reads an object's bytes instead of the object: the stream stands at the body of a record of the
    // current format. The result keeps its value if the record is empty, or if it claims more than there is,
    // which is an "Unexpected EOF." The record should be the object's last.
    static void readChunkAsBinary(PStream& stream, ByteBuffer& result);

    BuilderType STRM_ctorBuilderType() const noexcept { return builderType_; }
    // The name that was read with the object.
    const LightweightString<char>& STRM_unpackedHierarchyName() const
    {
        return hasUsualName_ ? STRM_storedName() : unpackedHierarchyName_;
    }
    // All ones before anything was read.
    unsigned STRM_unpackedHierarchyChunkSize() const noexcept { return unpackedHierarchyChunkSize_; }
    // Bytes of the layers that follow the one read last; 0 behind the last.
    unsigned STRM_followingChunkSize() const noexcept { return followingChunkSize_; }

    // The format of the layer that was read or written last. `pack` sets others than 1.0 for its layer.
    unsigned char majorRev() const noexcept { return majorRev_; }
    unsigned char minorRev() const noexcept { return minorRev_; }
    void setRevs(unsigned majorRev, unsigned minorRev) const noexcept
    {
        majorRev_ = static_cast<unsigned char>(majorRev);
        minorRev_ = static_cast<unsigned char>(minorRev);
    }

protected:
    Streamable(const Streamable&) = default;
    Streamable& operator=(const Streamable&) = default;

    void setBuilderType(BuilderType type) noexcept { builderType_ = type; }

private:
    friend class StreamableTraitsBase;
    friend MISC_API PStream& operator>>(PStream&, Streamable&);

    // The revs of the layer in hand, which is packed by a const object.
    mutable unsigned char majorRev_ = 1;
    mutable unsigned char minorRev_ = 0;
    BuilderType builderType_ = eNormal;
    bool hasUsualName_ = false;   // what was read is the stored name, and not kept
    bool isLayerMissing_ = false; // a record stood in the place of a layer, and was no layer's
    LightweightString<char> unpackedHierarchyName_;
};

// A whole object. Writing leaves its failure in the stream's text.
MISC_API PStream& operator<<(PStream& stream, const Streamable& object);

// An object of a known class. An error that the stream has already is forgotten, with a warning: who reads
// several objects looks at PStream::failed after each. Layers that the object's class doesn't have are a
// failure.
MISC_API PStream& operator>>(PStream& stream, Streamable& object);
