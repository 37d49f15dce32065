#include "examples/editsession/EventStore.h"

#include "OS/FileMgr.h"
#include "OS/OS.h"
#include "libmw/Text.h"
#include "libmw/UUID.h"
#include "misc/persistence/StreamObjectManager.h"
#include "misc/persistence/StreamableLayer.h"
#include "misc/persistence/TagMarkerTable.h"

#include <utility>

namespace
{

using Path = LightweightString<wchar_t>;

// How many of something follow. The number is not trusted: who reads so many stops at the stream's end.
PStream& operator<<(PStream& stream, std::size_t count)
{
    return stream << static_cast<unsigned>(count);
}

template <class Value, class Read>
void readMany(PStream& stream, std::vector<Value>& values, Read read)
{
    unsigned count = 0;
    for (stream >> count; count != 0 && !stream.failed(); --count)
    {
        if (stream.file()->eof())
            stream.unexpectEOF();
        else
            read(values.emplace_back());
    }
}

// What every event has. A persistent class derives from its base by way of StreamableLayer and says how its own
// fields are stored, and no more: the base's layer stands before it, with a header of its own.
class StoredEvent : public StreamableLayer<StoredEvent, Taggable>
{
public:
    // The names that stand in the file, short, and in messages, full. They are the class's for good.
    static constexpr StreamLayerNames layerNames = {"Ev", "Event"};

    StoredEvent() = default;
    explicit StoredEvent(const Event& event) : event_(event) {}

    const Event& event() const { return event_; }

    void pack(PStream& stream) const
    {
        stream << event_.number << event_.cookie.asString(true) << event_.notes.size();
        for (const Text& note : event_.notes)
            stream << note;
    }
    void unpack(PStream& stream)
    {
        Text cookie;
        stream >> event_.number >> cookie;
        event_.cookie = Cookie(cookie.c_str(), true);
        readMany(stream, event_.notes, [&](Text& note) { stream >> note; });
    }

protected:
    Event event_;
};

PStream& operator<<(PStream& stream, const TapeSpan& span)
{
    return stream << span.in << span.length << static_cast<char>(span.dropFrame);
}

PStream& operator>>(PStream& stream, TapeSpan& span)
{
    char dropFrame = 0;
    stream >> span.in >> span.length >> dropFrame;
    span.dropFrame = dropFrame != 0;
    return stream;
}

// The edits of an event, a second layer behind that of the event.
class StoredEdits : public StreamableLayer<StoredEdits, StoredEvent>
{
public:
    static constexpr StreamLayerNames layerNames = {"Ed", "Edits"};
    using StreamableLayer::StreamableLayer;
    StoredEdits() = default;

    void pack(PStream& stream) const
    {
        stream << event_.edits.size();
        for (const Edit& edit : event_.edits)
            packEdit(stream, edit);
    }
    void unpack(PStream& stream)
    {
        readMany(stream, event_.edits, [&](Edit& edit) { unpackEdit(stream, edit); });
    }

private:
    static void packEdit(PStream& stream, const Edit& edit)
    {
        const Transition& transition = edit.transition;
        stream << edit.reel << edit.tracks << static_cast<char>(transition.kind) << transition.wipe
               << transition.lengthFrames << static_cast<char>(transition.fade) << edit.source << edit.record
               << static_cast<char>(edit.speed.has_value());
        if (edit.speed)
            stream << edit.speed->thousandths << edit.speed->from << static_cast<char>(edit.speed->dropFrame);
        stream << edit.addedAudio.size();
        for (const int track : edit.addedAudio)
            stream << track;
    }
    static void unpackEdit(PStream& stream, Edit& edit)
    {
        char kind = 0, fade = 0, hasSpeed = 0, dropFrame = 0;
        stream >> edit.reel >> edit.tracks >> kind >> edit.transition.wipe >> edit.transition.lengthFrames >> fade >>
            edit.source >> edit.record >> hasSpeed;
        if (kind < Transition::Cut || kind > Transition::KeyOut)
            stream.append("There is no such transition.");
        edit.transition.kind = static_cast<Transition::Kind>(kind);
        edit.transition.fade = fade != 0;
        if (hasSpeed != 0)
        {
            TapeSpeed& speed = edit.speed.emplace();
            stream >> speed.thousandths >> speed.from >> dropFrame;
            speed.dropFrame = dropFrame != 0;
        }
        readMany(stream, edit.addedAudio, [&](int& track) { stream >> track; });
    }
};

// By its registrar a class is known to whoever reads a file. The first layer alone is never stored, so it needs
// none.
const StreamClassRegistrar registrar = StreamClassRegistrar::of<StoredEdits>();

// A directory that stays, or one that goes with this object and the one file that was stored there.
class StoreDirectory
{
public:
    explicit StoreDirectory(const Text& kept) : isTemporary_(kept.empty())
    {
        path_ = isTemporary_ ? Mw::joinPath(OS().fileMgr().temporaryDirectory(),
                                            L"editsession-" + Cookie('E', Mw::UUID::generate(), 0).asWString())
                             : fromUTF8(kept);
        exists_ = OS().fileMgr().ensureDirectory(path_);
    }
    ~StoreDirectory()
    {
        if (!isTemporary_)
            return;
        OS().fileMgr().remove(file_);
        OS().fileMgr().remove(path_);
    }
    StoreDirectory(const StoreDirectory&) = delete;
    StoreDirectory& operator=(const StoreDirectory&) = delete;

    bool exists() const { return exists_; }
    const Path& path() const { return path_; }
    void setFile(const Path& file) { file_ = file; }

private:
    const bool isTemporary_;
    bool exists_;
    Path path_;
    Path file_;
};

constexpr const wchar_t* extension = L"odb";

// Gives the file's name; empty if it could not be written.
Path write(const EditList& list, const Path& directory, const Cookie& name)
{
    TagMarkerTable table(directory, name, extension);
    for (const Event& event : list.events)
        table.intern(Mw::Ptr<Taggable>(new StoredEdits(event)));
    return table.closeSwap(true) ? table.fileName() : Path();
}

// Gives what is wrong.
Text compare(const EditList& list, const Path& directory, const Cookie& name)
{
    Mw::Ptr<TagMarkerTable> table;
    bool failed = false;
    TagMarkerTable::openSwap(table, directory, name, failed, iFile::eOpenExisting, extension);
    if (failed || table->size() != list.events.size() || !table->displaceAll())
        return "the stored events can't be read";
    std::size_t at = 0;
    for (const Mw::Ptr<TagMarker>& marker : table->markers())
    {
        const auto stored = Mw::dynamicCast<StoredEdits>(marker->demand());
        const Event& event = list.events[at++];
        if (!stored || stored->event() != event)
            return formatted("event %03d did not come back from the store as it was", event.number);
    }
    return {};
}

} // namespace

Text storeEvents(const EditList& list, const Text& directory, Text& reason)
{
    if (list.events.empty())
        return {};
    const Cookie name = convertCookie(list.events.front().cookie, 'P', Cookie::defaultSubType);
    StoreDirectory store(directory);
    const Path file = store.exists() ? write(list, store.path(), name) : Path();
    store.setFile(file);
    reason = file.empty() ? "the events can't be stored in " + toUTF8(store.path()) : compare(list, store.path(), name);
    return toUTF8(file);
}
