#include "misc/persistence/Taggable.h"

namespace
{

void checkKind(PStream& stream, const TagTypeId& kind)
{
    constexpr std::string_view prefix = "Taggable";
    const std::string_view text = kind.id();
    if (!text.starts_with(prefix) || (text.size() != prefix.size() && text[prefix.size()] != '.'))
        stream.append("Taggable object of a kind that is none.");
}

} // namespace

Taggable& Taggable::operator=(const Taggable& other)
{
    StreamableLayer::operator=(other);
    ttid_ = other.ttid_;
    return *this;
}

void Taggable::pack(PStream& stream) const
{
    id_.pack(stream);
    const TagTypeId ttid = tagTypeId();
    checkKind(stream, ttid);
    stream.writeBinary(ttid.id());
}

void Taggable::unpack(PStream& stream)
{
    if (majorRev() != 1 || minorRev() != 0)
    {
        stream.append("Unknown Taggable object version!");
        return;
    }
    const LightweightString<char> id(stream.file()->readText());
    id_ = IdStamp(id.c_str());
    if (id_.asString() != id)
    {
        stream.append("Taggable object with a damaged id.");
        return;
    }
    // Most objects are of the kind of their class, whose text they share.
    ttid_ = TagTypeId(className());
    if (const std::string_view ttid = stream.file()->readText(); ttid != ttid_.id().text())
        ttid_ = TagTypeId(LightweightString<char>(ttid));
    checkKind(stream, ttid_);
}

bool Taggable::isSameInstance(const Taggable& other) const
{
    return this == &other;
}

void Taggable::destroyChildren() {}

void Taggable::displaceNotify() {}

void Taggable::preDeleteNotify() {}

void Taggable::preDestroyNotify() {}

void Taggable::destroyNotify() {}

Mw::Ptr<Streamable> Taggable::cloneWithChildren()
{
    return clone(eClone);
}
