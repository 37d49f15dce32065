#include "misc/persistence/Taggable.h"

#include "Mw/CText.h"

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
    if (ttid_.empty())
        return stream.writeName(STRM_className());
    checkKind(stream, ttid_);
    stream << ttid_.id();
}

void Taggable::unpack(PStream& stream)
{
    if (majorRev() != 1 || minorRev() != 0)
    {
        stream.append("Unknown Taggable object version!");
        return;
    }
    const std::optional<IdStamp> id = IdStamp::ofText(stream.file()->readText());
    if (!id)
    {
        stream.append("Taggable object with a damaged id.");
        return;
    }
    id_ = *id;
    // Most objects are of the kind of their class.
    ttid_ = TagTypeId();
    if (const std::string_view kind = stream.file()->readText(); !Mw::CText::same(kind, STRM_className()))
    {
        ttid_ = TagTypeId(LightweightString<char>(kind));
        checkKind(stream, ttid_);
    }
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
