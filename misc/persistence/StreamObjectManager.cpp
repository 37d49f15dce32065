#include "misc/persistence/StreamObjectManager.h"

#include "Mw/Assert.h"
#include "Mw/WordHash.h"
#include "OS/Immortal.h"
#include "libmw/Text.h"
#include "misc/diagnostics/Console.h"
#include "misc/diagnostics/FatalError.h"
#include "misc/persistence/StreamableLayer.h"

#include <atomic>
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

std::size_t StreamObjectManager::HashedName::operator()(std::string_view name) const noexcept
{
    return Mw::words::hashOf(name);
}

void StreamObjectManager::registerClass(const LightweightString<char>& shortName,
                                        const LightweightString<char>& fullName, StreamBuilder builder)
{
    insert(shortName, builder);
    insert(fullName, builder);
}

void StreamObjectManager::insert(const LightweightString<char>& name, StreamBuilder builder)
{
    const auto [entry, isNew] = classes_.emplace(name, SORegisterRec{builder});
    if (isNew)
        index_.emplace(entry->first.text(), &entry->second);
    else
        oma_splat((LightweightString<char>("Non-unique short name or full name registering ") + name).c_str());
}

int StreamObjectManager::unregisterClass(const LightweightString<char>&)
{
    return 0;
}

StreamBuilder StreamObjectManager::lookup(const LightweightString<char>& name) const
{
    const auto found = index_.find(name.text());
    return found != index_.end() ? found->second->builder : nullptr;
}

Mw::Ptr<Streamable> StreamObjectManager::readObject(PStream& stream)
{
    if (stream.failed())
    {
        printToBoth("Warning: Stream with error flagged passed to readObject!\n");
        return {};
    }
    StreamFile& file = *stream.file();
    Streamable header(Streamable::eHeaderOnly);
    const std::uint64_t start = file.position();
    file.cacheForward(start + headerBytes);
    Streamable::STRM_Traits::unpackHeaderAndObject(header, stream);
    if (stream.failed())
    {
        printToBoth("StreamObjectManager::readObject(): Failed to read header!\n");
        return {};
    }
    const std::uint64_t end = file.position() + header.STRM_followingChunkSize();
    file.cacheForward(end);
    Mw::Ptr<Streamable> object;
    if (const StreamBuilder builder = lookup(header.STRM_unpackedHierarchyName()))
    {
        file.setPosition(start);
        object = builder(stream);
    }
    else
        printToBoth(("Unregistered builder for " + header.STRM_unpackedHierarchyName() + ".\n").c_str());
    file.setPosition(end);
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
