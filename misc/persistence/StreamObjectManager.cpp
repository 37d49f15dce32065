#include "misc/persistence/StreamObjectManager.h"

#include "Mw/Assert.h"
#include "Mw/CText.h"
#include "Mw/WordHash.h"
#include "OS/Immortal.h"
#include "libmw/Text.h"
#include "misc/diagnostics/Console.h"
#include "misc/diagnostics/FatalError.h"
#include "misc/persistence/StreamableLayer.h"

#include <atomic>
#include <bit>
#include <cstdio>

namespace
{

// Enough of an object to find its class.
constexpr unsigned headerBytes = 512;

std::atomic<StreamObjectManager*> theManager = nullptr;

void printToBoth(const char* text)
{
    herc_printf("%s", text);
    std::fputs(text, Mw::diagnosticStream());
}

} // namespace

StreamObjectInfo::StreamObjectInfo(PStream& stream)
{
    stream >> text_ >> first_ >> second_;
}

void StreamObjectInfo::printOn(GrowString& out) const
{
    if (text_.empty())
        return;
    LightweightString<char> line = name_;
    if (!line.empty())
        line += ": ";
    line += text_;
    line += ", ";
    line += first_;
    line += ", ";
    line += second_;
    line += '\n';
    out.append(line);
}

StreamObjectManager& theSOManager()
{
    if (theManager.load(std::memory_order_acquire) == nullptr)
        immortal<StreamObjectManager>().init();
    return *theManager.load(std::memory_order_acquire);
}

void StreamObjectManager::init()
{
    theManager.store(this, std::memory_order_release);
}

void StreamObjectManager::registerClass(const LightweightString<char>& shortName,
                                        const LightweightString<char>& fullName, StreamBuilder builder)
{
    insert(shortName, builder);
    insert(fullName, builder);
}

void StreamObjectManager::insert(const LightweightString<char>& name, StreamBuilder builder)
{
    const auto [added, isNew] = classes_.emplace(name, SORegisterRec{builder});
    if (!isNew)
    {
        oma_splat((LightweightString<char>("Non-unique short name or full name registering ") + name).c_str());
        return;
    }
    if (2 * classes_.size() <= index_.size())
        return enter(added->first, builder);
    index_.assign(std::bit_ceil(4 * classes_.size()), {});
    for (const auto& [key, record] : classes_)
        enter(key, record.builder);
}

// `name` is a key of the map, which keeps its text where it is.
void StreamObjectManager::enter(const LightweightString<char>& name, StreamBuilder builder)
{
    entryOf(name.text()) = {name.text(), builder};
}

int StreamObjectManager::unregisterClass(const LightweightString<char>&)
{
    return 0;
}

StreamBuilder StreamObjectManager::lookup(const LightweightString<char>& name) const
{
    return builderOf(name.text());
}

StreamBuilder StreamObjectManager::builderOf(std::string_view name) const
{
    return index_.empty() ? nullptr : const_cast<StreamObjectManager*>(this)->entryOf(name).builder;
}

// The entry of the name, or the free one that it would take.
StreamObjectManager::Entry& StreamObjectManager::entryOf(std::string_view name)
{
    const std::size_t mask = index_.size() - 1;
    std::size_t at = Mw::words::hashOf(name) & mask;
    while (index_[at].builder != nullptr && !Mw::CText::same(index_[at].name, name))
        at = (at + 1) & mask;
    return index_[at];
}

Mw::Ptr<Streamable> StreamObjectManager::readObject(PStream& stream)
{
    if (stream.failed())
    {
        printToBoth("Warning: Stream with error flagged passed to readObject!\n");
        return {};
    }
    StreamFile& file = *stream.file();
    const std::uint64_t start = file.position();
    StreamableTraitsBase::UsualObject usual;
    bool isUsual = StreamableTraitsBase::peekUsualObject(stream, usual);
    if (!isUsual)
    {
        file.cacheForward(start + headerBytes);
        isUsual = StreamableTraitsBase::peekUsualObject(stream, usual);
    }
    if (isUsual)
        if (const StreamBuilder builder = builderOf(usual.hierarchyName))
            return build(stream, builder, start + usual.layerBytes + usual.followingBytes);

    Streamable header(Streamable::eHeaderOnly);
    Streamable::STRM_Traits::unpackHeaderAndObject(header, stream);
    if (stream.failed())
    {
        printToBoth("StreamObjectManager::readObject(): Failed to read header!\n");
        return {};
    }
    const std::uint64_t end = file.position() + header.STRM_followingChunkSize();
    if (const StreamBuilder builder = lookup(header.STRM_unpackedHierarchyName()))
    {
        file.setPosition(start);
        return build(stream, builder, end);
    }
    printToBoth(("Unregistered builder for " + header.STRM_unpackedHierarchyName() + ".\n").c_str());
    file.setPosition(end);
    return {};
}

// The object from the stream's position to `end`.
Mw::Ptr<Streamable> StreamObjectManager::build(PStream& stream, StreamBuilder builder, std::uint64_t end)
{
    stream.file()->cacheForward(end);
    Mw::Ptr<Streamable> object = builder(stream);
    stream.file()->setPosition(end);
    return object;
}

Mw::Ptr<Streamable> StreamObjectManager::readObjectAs(PStream& stream, Streamable& prototype)
{
    const Mw::Ptr<Streamable> clone = prototype.clone(Streamable::eClone);
    if (clone)
        clone->unpack(stream);
    return clone;
}

StreamObjectInfo StreamObjectManager::objectInfo(PStream& stream) const
{
    return StreamObjectInfo(stream);
}

PStream& operator>>(PStream& stream, Streamable*& object)
{
    Mw::Ptr<Streamable> read = theSOManager().readObject(stream);
    object = read.get();
    if (object == nullptr)
        return stream;
    // The reference goes without the object.
    read.incRef();
    read.reset();
    OS().atomics().decrement(Mw::InternalRefCountTraits::countFor(object));
    return stream;
}

StreamClassRegistrar::StreamClassRegistrar(const LightweightString<char>& shortName,
                                           const LightweightString<char>& fullName, StreamBuilder builder)
{
    theSOManager().registerClass(shortName, fullName, builder);
}
