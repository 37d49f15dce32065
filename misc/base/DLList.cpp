#include "misc/base/DLList.h"

#include <functional>

DLListRec::~DLListRec()
{
    if (list_ != nullptr)
        list_->extract(this);
}

int DLListRec::compare(const DLListRec& other) const
{
    if (this == &other)
        return 0;
    return std::less<>()(this, &other) ? -1 : 1;
}

DLList::~DLList()
{
    for (Walk* walk = innermost_; walk != nullptr; walk = walk->outer_)
        walk->list_ = nullptr;
    innermost_ = nullptr;
    clear();
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

bool DLList::append(DLListRec* record) noexcept
{
    if (record->list_ != nullptr)
        return false;
    DLListRec* const head = this->head();
    record->next_ = head != nullptr ? head : record;
    record->previous_ = head != nullptr ? head->previous_ : record;
    record->next_->previous_ = record;
    record->previous_->next_ = record;
    record->list_ = this;
    if (head == nullptr)
        setHead(record);

    // A walk that has called only records that are gone would take the new one, which now stands last, for
    // one that is still to be called. It may be that in a first call only.
    for (Walk* walk = innermost_; walk != nullptr && walk->marker_ == nullptr; walk = walk->outer_)
        if (!walk->isFirstCall_)
            walk->marker_ = record;
    return true;
}

DLListRec* DLList::extract(DLListRec* record) noexcept
{
    if (record->list_ != this)
        return nullptr;

    DLListRec* const next = record->next_;
    // The place where a walk stands: the head for the innermost one, and for the one around it the head as it
    // will be when the inner one has ended.
    const DLListRec* place = head();
    for (Walk* walk = innermost_; walk != nullptr; walk = walk->outer_)
    {
        const DLListRec* const marker = walk->marker_;
        if (walk->current_ == record)
            walk->current_ = nullptr;
        if (marker == record)
            walk->marker_ = next != place ? next : nullptr;
        if (marker != nullptr)
            place = marker;
    }

    if (head() == record)
        setHead(next != record ? next : nullptr);
    next->previous_ = record->previous_;
    record->previous_->next_ = next;
    record->next_ = nullptr;
    record->previous_ = nullptr;
    record->list_ = nullptr;
    return record;
}

void DLList::remove(DLListRec* record)
{
    if (extract(record) != nullptr && ownsRecords_)
        delete record;
}

void DLList::clear()
{
    while (DLListRec* const record = head())
        remove(record);
}
