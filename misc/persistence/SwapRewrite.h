#pragma once

#include "misc/persistence/PStream.h"
#include "misc/persistence/StreamFile.h"
#include "misc/persistence/TagMarkerTable.h"

#include <cstdint>
#include <vector>

// What the flush of a table consists of: the pieces of the new file in their order, which a table hands to one
// of these. Each is used once, with the lock of all tables held.

// Writes the pieces to a file, and has the table take the new places over once the file is complete.
class SwapRewrite
{
public:
    SwapRewrite(TagMarkerTable& table, StreamFile& out) : table_(table), busy_(table), out_(out), stream_(&out) {}

    // A stored object that is not in memory, or other bytes of the old file. False, with the reason in
    // `error`, if they can't be carried over.
    bool carry(const TagMarkerTable::Span& from);
    bool carry(const TagMarker& marker);
    // An object in memory.
    bool write(const TagMarker& marker);
    // The last piece was given.
    bool finish(const TagMarkerTable::Span& unread);

    const LightweightString<char>& error() const noexcept { return error_; }

    // The file is in its place: markers and table now tell of it.
    void commit();

private:
    struct Place
    {
        std::uint32_t position = 0;
        std::uint32_t length = 0;
    };

    std::uint64_t end() const noexcept { return out_.position() + pending_.length; }
    bool fits(std::uint64_t end);
    bool extend(const TagMarkerTable::Span& from);
    bool copyPending();
    void note(const TagMarker& marker, std::uint64_t position, std::uint64_t length);

    TagMarkerTable& table_;
    const TagMarkerTable::Busy busy_;
    StreamFile& out_;
    PStream stream_;
    TagMarkerTable::Span pending_;       // bytes of the old file that follow each other, to be copied together
    std::vector<Place> places_;          // by slot
    std::vector<std::uint32_t> retyped_; // slots of objects that are no longer of their markers' kind
    std::vector<TagMarkerTable::Span> uncovered_;
    TagMarkerTable::Span unread_;
    LightweightString<char> error_;
};

// Compares the pieces with the file as it is.
class SwapComparison
{
public:
    explicit SwapComparison(TagMarkerTable& table);
    // The file's position is what it was.
    ~SwapComparison();

    // False at the first difference.
    bool carry(const TagMarkerTable::Span& from);
    bool carry(const TagMarker& marker);
    bool write(const TagMarker& marker);
    bool finish(const TagMarkerTable::Span& unread);

    // Whether the marker's object in memory packs to the bytes that are stored.
    bool isStored(const TagMarker& marker);

private:
    bool packsTo(const TagMarker& marker, std::uint64_t position, std::uint64_t& length);

    TagMarkerTable& table_;
    const TagMarkerTable::Busy busy_;
    StreamFile* const file_; // null if it can't be read
    const std::uint64_t positionBefore_;
    StreamFile packed_;
    PStream stream_;
    std::uint64_t end_ = 0; // of the pieces so far
};
