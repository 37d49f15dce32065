#include "misc/persistence/Streamable.h"

#include "Mw/Assert.h"
#include "Mw/CText.h"
#include "misc/diagnostics/Console.h"
#include "misc/persistence/StreamableLayer.h"

#include <cstdio>

namespace
{

constexpr unsigned expectedTextSize = 512;

} // namespace

StreamStatus Streamable::STRM_hierarchyUnpack(PStream& stream)
{
    followingChunkSize_ = unknownSize;
    isLayerMissing_ = false;
    StreamableTraitsBase::UsualObject usual;
    if (builderType_ != eHeaderOnly && StreamableTraitsBase::peekUsualObject(stream, usual))
        if (Mw::CText::same(usual.hierarchyName, STRM_storedName()))
        {
            stream.file()->passCached(usual.layerBytes);
            stream.version(2);
            setRevs(2, 0);
            hasUsualName_ = true;
            unpackedHierarchyChunkSize_ = followingChunkSize_ = usual.followingBytes;
            return eStreamUnpacked;
        }
    return STRM_Traits::unpackHeaderAndObject(*this, stream);
}

StreamStatus Streamable::STRM_hierarchyPack(PStream& stream) const
{
    StreamableTraitsBase::PackFunctionStack stack;
    return STRM_Traits::pack(*this, stream, stack);
}

void Streamable::printOn(GrowString& text) const
{
    text.append(hierarchyName(true, false));
}

void Streamable::assign(const Streamable*)
{
    MW_ASSERT(false);
}

LightweightString<char> Streamable::hierarchyName(bool first, bool shortForm) const
{
    return subHierarchyName(first, shortForm);
}

const LightweightString<char>& Streamable::STRM_storedName() const
{
    static const LightweightString<char> none;
    return none;
}

const LightweightString<char>& Streamable::STRM_className() const
{
    return Streamable::STRM_storedName();
}

Mw::Ptr<Streamable> Streamable::clone(BuilderType type)
{
    // A class that says nothing of its own would come out as its base.
    if (typeid(*this) != typeid(Streamable))
        return {};
    return Mw::Ptr<Streamable>(new Streamable(type, *this));
}

void Streamable::pack(PStream& stream) const
{
    setRevs(2, 0);
    stream.writeName(STRM_storedName());
}

void Streamable::unpack(PStream& stream)
{
    if ((majorRev_ != 1 && majorRev_ != 2) || minorRev_ != 0)
    {
        stream.append(" Unknown object version! ");
        return;
    }
    StreamFile& file = *stream.file();
    const std::uint64_t start = file.position();
    const std::string_view name = file.readText();
    const std::uint64_t lengthBytes = file.position() - start;
    if (lengthBytes > unpackedHierarchyChunkSize_)
    {
        stream.unexpectEOF();
        return;
    }
    unpackedHierarchyChunkSize_ -= static_cast<unsigned>(lengthBytes);
    hasUsualName_ = builderType_ != eHeaderOnly && name == std::string_view(STRM_storedName());
    if (hasUsualName_)
        return;
    unpackedHierarchyName_ = name;
    if (builderType_ == eHeaderOnly || name == hierarchyName(false, false))
        return;
    char text[expectedTextSize];
    std::snprintf(text, sizeof text, "Expected hierarchy Streamable.%s, got Streamable.%s", STRM_storedName().c_str(),
                  unpackedHierarchyName_.c_str());
    stream.append(text);
}

LightweightString<char> Streamable::subHierarchyName(bool first, bool shortForm)
{
    return first ? (shortForm ? shortLayerName() : layerName()) : std::string_view();
}

void Streamable::STRM_L_Streamable_buildHierarchyName(LightweightString<char>& text, bool first, bool shortForm) const
{
    if (!first)
        return;
    if (!text.empty())
        text.push_back('.');
    text += shortForm ? shortLayerName() : layerName();
}

void Streamable::asString(GrowString& text) const
{
    text.clear();
    printOn(text);
}

int Streamable::compareTypes(const Streamable* a, const Streamable* b)
{
    if (a == b)
        return 0;
    if (a == nullptr || b == nullptr)
        return 1;
    return a->hierarchyName(false, false) == b->hierarchyName(false, false) ? 0 : 1;
}

void Streamable::readChunkAsBinary(PStream& stream, ByteBuffer& result)
{
    StreamFile& file = *stream.file();
    const std::uint64_t body = file.position();
    unsigned layerChunkSize = 0;
    unsigned hierarchyChunkSize = 0;
    constexpr unsigned sizesBytes = sizeof layerChunkSize + sizeof hierarchyChunkSize;
    if (body < sizesBytes)
    {
        stream.unexpectEOF();
        return;
    }
    file.setPosition(body - sizesBytes);
    stream >> layerChunkSize >> hierarchyChunkSize;
    MW_ASSERT(layerChunkSize == hierarchyChunkSize);
    if (hierarchyChunkSize == 0)
        return;
    if (hierarchyChunkSize > file.size() - body)
    {
        stream.unexpectEOF();
        return;
    }
    const ByteBuffer bytes(new ByteBufferImpl(hierarchyChunkSize));
    if (!file.readBinary(bytes->data(), hierarchyChunkSize, true))
    {
        stream.unexpectEOF();
        return;
    }
    bytes->setLength(hierarchyChunkSize);
    result = bytes;
}

PStream& operator<<(PStream& stream, const Streamable& object)
{
    object.STRM_hierarchyPack(stream);
    return stream;
}

PStream& operator>>(PStream& stream, Streamable& object)
{
    if (stream.failed())
    {
        constexpr const char* warning = "Warning: Attempted to unpack from a stream with error flagged!\n";
        herc_printf("%s", warning);
        std::fputs(warning, Mw::diagnosticStream());
        stream.clear();
    }
    const StreamStatus status = object.STRM_hierarchyUnpack(stream);
    if (status != eStreamUnpacked || object.builderType_ == Streamable::eHeaderOnly)
        return stream;
    if (object.isLayerMissing_ || object.followingChunkSize_ != 0)
    {
        stream.append(object.isLayerMissing_ ? "A layer has no name while unpacking "
                                             : "Stored layers are left over after unpacking ");
        stream.append(object.className());
        stream.append(".");
    }
    return stream;
}
