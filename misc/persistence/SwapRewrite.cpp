#include "misc/persistence/SwapRewrite.h"

#include "libmw/Text.h"

#include <algorithm>
#include <limits>
#include <string_view>

namespace
{

// Where objects lie is told in 32 bits.
constexpr std::uint64_t largestFileBytes = std::numeric_limits<std::uint32_t>::max();
// What is read at once of a file that is carried over or compared.
constexpr std::uint64_t readAheadBytes = 128 * 1024;

} // namespace

bool SwapRewrite::carry(const TagMarkerTable::Span& from)
{
    uncovered_.push_back({end(), from.length});
    return extend(from);
}

bool SwapRewrite::carry(const TagMarker& marker)
{
    note(marker, end(), marker.length_);
    return extend({marker.position_, marker.length_});
}

bool SwapRewrite::write(const TagMarker& marker)
{
    if (!copyPending())
        return false;
    const std::uint64_t start = out_.position();
    if (!marker.pack(stream_))
    {
        error_ = "object " + marker.id().asString() + " can't be packed: " + stream_.asString();
        return false;
    }
    if (marker.slot_ == TagMarker::noSlot)
    {
        error_ = "object " + marker.id().asString() + " left the table while it was packed";
        return false;
    }
    note(marker, start, out_.position() - start);
    if (marker.object_ && !marker.isOfType(*marker.object_))
        retyped_.push_back(marker.slot_);
    return fits(out_.position());
}

bool SwapRewrite::finish(const TagMarkerTable::Span& unread)
{
    unread_ = {end(), unread.length};
    return extend(unread) && copyPending();
}

void SwapRewrite::note(const TagMarker& marker, std::uint64_t position, std::uint64_t length)
{
    if (places_.size() <= marker.slot_)
        places_.resize(std::max<std::size_t>(table_.markers_.size(), marker.slot_ + 1));
    places_[marker.slot_] = {static_cast<std::uint32_t>(position), static_cast<std::uint32_t>(length)};
}

bool SwapRewrite::fits(std::uint64_t end)
{
    if (end <= largestFileBytes)
        return true;
    error_ = "the objects take more than 4 GiB";
    return false;
}

bool SwapRewrite::extend(const TagMarkerTable::Span& from)
{
    if (from.length == 0)
        return true;
    if (!fits(end() + from.length))
        return false;
    if (pending_.length != 0 && pending_.position + pending_.length != from.position && !copyPending())
        return false;
    if (pending_.length == 0)
        pending_.position = from.position;
    pending_.length += from.length;
    return true;
}

bool SwapRewrite::copyPending()
{
    if (pending_.length == 0)
        return true;
    StreamFile* const file = table_.completed_.get();
    if (file == nullptr)
    {
        error_ = "the file that holds the other objects can't be read";
        return false;
    }
    const std::uint64_t before = file->position();
    file->setPosition(pending_.position);
    bool read = true;
    while (read && pending_.length != 0)
    {
        const std::uint64_t part = std::min(pending_.length, readAheadBytes);
        file->cacheForward(file->position() + part);
        const std::string_view bytes = file->cached().substr(0, part);
        out_.write(bytes.data(), static_cast<unsigned>(bytes.size()));
        file->passCached(bytes.size());
        pending_.length -= bytes.size();
        read = bytes.size() == part;
    }
    file->setPosition(before);
    if (!read)
        error_ = "the file that holds the other objects ends early: " + file->lastError();
    return read;
}

void SwapRewrite::commit()
{
    for (std::size_t slot = 0; slot < std::min(places_.size(), table_.markers_.size()); ++slot)
        if (TagMarker* const marker = table_.markers_[slot].get(); marker != nullptr && places_[slot].length != 0)
            marker->setPlace(places_[slot].position, places_[slot].length);
    for (const std::uint32_t slot : retyped_)
        if (TagMarker* const marker = table_.markers_[slot].get(); marker != nullptr && marker->object_)
            marker->keepType();
    table_.uncovered_ = std::move(uncovered_);
    table_.unread_ = unread_;
    table_.storedBytes_ = out_.size();
}

SwapComparison::SwapComparison(TagMarkerTable& table)
    : table_(table), busy_(table), file_(table.completed_.get()),
      positionBefore_(file_ != nullptr ? file_->position() : 0), stream_(&packed_)
{
}

SwapComparison::~SwapComparison()
{
    if (file_ != nullptr)
        file_->setPosition(positionBefore_);
}

bool SwapComparison::carry(const TagMarkerTable::Span& from)
{
    const bool same = from.position == end_;
    end_ += from.length;
    return same;
}

bool SwapComparison::carry(const TagMarker& marker)
{
    return carry({marker.position_, marker.length_});
}

bool SwapComparison::write(const TagMarker& marker)
{
    std::uint64_t length = 0;
    const bool same = packsTo(marker, end_, length);
    end_ += length;
    return same;
}

bool SwapComparison::finish(const TagMarkerTable::Span& unread)
{
    return (unread.length == 0 || carry(unread)) && end_ == table_.storedBytes_;
}

bool SwapComparison::isStored(const TagMarker& marker)
{
    std::uint64_t length = 0;
    return packsTo(marker, marker.position_, length) && length == marker.length_;
}

bool SwapComparison::packsTo(const TagMarker& marker, std::uint64_t position, std::uint64_t& length)
{
    packed_.setPosition(0);
    if (!marker.pack(stream_))
        return false;
    length = packed_.position();
    if (file_ == nullptr || position + length > file_->size())
        return false;
    packed_.setPosition(0);
    // Behind an object that was compared, others probably are.
    const std::uint64_t neededBytes = file_->position() == position ? std::max(length, readAheadBytes) : length;
    file_->setPosition(position);
    if (file_->cached().size() < length)
        file_->cacheForward(position + neededBytes);
    const bool same = file_->cached().substr(0, length) == packed_.cached().substr(0, length);
    file_->setPosition(position + length);
    return same;
}
