#include "misc/base/DLList.h"

#include <functional>

int DLListRec::compare(const DLListRec& other) const
{
    if (this == &other)
        return 0;
    return std::less<>()(this, &other) ? -1 : 1;
}

DLList::~DLList()
{
    for (Walk* walk = innermost_; walk != nullptr; walk = walk->outer_)
    {
        walk->list_ = nullptr;
        walk->current_ = nullptr;
    }
    innermost_ = nullptr;
    clear();
}

DLListRec* DLList::Walk::nextOfRemoved() noexcept
{
    if (list_ == nullptr)
        return nullptr;
    isFirstCall_ = false;
    current_ = list_->head();
    // The head of an empty list and its marker are both null.
    if (current_ == marker_)
        return nullptr;
    if (marker_ == nullptr)
        marker_ = current_;
    return current_;
}

// `place` is where the walk stands.
void DLList::Walk::recordLeaves(const DLListRec* record, DLListRec* next, const DLListRec* place) noexcept
{
    const bool isCurrent = record == current_;
    if (isCurrent)
        current_ = nullptr;
    if (record != marker_)
        return;
    // Where the record that is being called has gone, now or before, the one at its place is still to be called.
    marker_ = isCurrent || (next == place && current_ == nullptr) ? nullptr : next;
    isFirstCall_ = isFirstCall_ && isCurrent;
}

unsigned DLList::size() const noexcept
{
    unsigned count = 0;
    for (const DLListRec* record = head(); record != nullptr; record = next(record))
        ++count;
    return count;
}

DLListRec* DLList::next(const DLListRec* record) const noexcept
{
    return record->next_ != head() ? record->next_ : nullptr;
}

// The place where a walk stands is the head for the innermost one, and for the one around it the head as it will be
// when the inner one has ended: where that began, if what was called first is still there.
DLListRec* DLList::Walk::placeAround(DLListRec* place) const noexcept
{
    return marker_ != nullptr ? marker_ : place;
}

// The record comes in before the head. A walk that began where it stands would take it for one that is still to be
// called, and may do so in its first call only: else it ends at the record, and the walk around it goes on there.
void DLList::joinsInWalk(DLListRec* record) noexcept
{
    DLListRec* place = head();
    for (Walk* walk = innermost_; walk != nullptr; walk = walk->outer_)
    {
        if (place == head() && walk->isAtItsBeginning() && !walk->isFirstCall_)
            walk->marker_ = record;
        place = walk->placeAround(place);
    }
}

void DLList::leavesInWalk(const DLListRec* record) noexcept
{
    DLListRec* place = head();
    for (Walk* walk = innermost_; walk != nullptr; walk = walk->outer_)
    {
        DLListRec* const placeAround = walk->placeAround(place);
        walk->recordLeaves(record, record->next_, place);
        place = placeAround;
    }
}

void DLList::clear()
{
    while (DLListRec* const record = head())
        remove(record);
}
