#include "Clip.h"

#include "misc/persistence/StreamObjectManager.h"

namespace
{

// By these a reader finds the class of a stored object.
const StreamClassRegistrar registrars[] = {StreamClassRegistrar::of<Clip>(), StreamClassRegistrar::of<TitleClip>()};

} // namespace

void Clip::pack(PStream& stream) const
{
    stream << startFrame_ << reel_;
}

void Clip::unpack(PStream& stream)
{
    stream >> startFrame_ >> reel_;
}

// The size came with rev 1.1. A program that knows 1.0 alone passes over it, with a line in its log.
void TitleClip::pack(PStream& stream) const
{
    setRevs(1, 1);
    stream << text_ << size_;
}

void TitleClip::unpack(PStream& stream)
{
    if (majorRev() != 1)
    {
        stream.append("Unknown version of a title");
        return;
    }
    stream >> text_;
    if (minorRev() >= 1)
        stream >> size_;
}
