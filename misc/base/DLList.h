#pragma once

#include "OS/Export.h"

#include <atomic>

class DLList;

// A record that can stand in one DLList: the links are part of it. A copy stands in no list, and a record
// that dies while it stands in one takes itself out.
class MISC_API DLListRec
{
public:
    DLListRec() noexcept = default;
    DLListRec(const DLListRec&) noexcept {}
    DLListRec& operator=(const DLListRec&) noexcept { return *this; }
    virtual ~DLListRec();

    // Below, at or above 0 as this record stands before, with or behind the other in an order that derived
    // records may define. Here it is the order of their addresses.
    virtual int compare(const DLListRec& other) const;

    // The list that it stands in, or null.
    const DLList* list() const noexcept { return list_; }

private:
    friend class DLList;

    DLListRec* next_ = nullptr;
    DLListRec* previous_ = nullptr;
    DLList* list_ = nullptr;
};

// A circular list of records that is walked by rotation, so that records may come and go during the walk,
// which needs no copy of the list. Walks nest.
//
// The walk calls the record at the head. If that record is still there after its call, the list turns by
// one, and the walk ends when the first record that it called is at the head again; the list then stands as
// it did. That record is the walk's marker. When the marker is removed, its successor, which was called
// second, becomes the marker; if all that were called so far are gone, there is none until the next call is
// over. So, for each walk:
//
// - Every record that stays in the list from the walk's start to its end is called exactly once, in the
//   order of the list from the head on, whichever others are removed, by whomever, and however many walks
//   run within its calls.
// - A record that is removed before its call is not called. One that is removed during its own call is
//   not called again.
// - A record that is appended during the walk's first call is called, after all others. One that is appended
//   during a later call is not called in this walk; it stands directly before the record whose call it was.
// - A walk within a call begins with the record that the outer one is calling and has a marker of its own.
//   A record that is appended in it follows the rule above for the inner walk. To the outer walk it stands
//   where it was put: behind the last record, if it came in the first call of the inner walk, and so as if
//   no inner walk ran; else directly before the record that the inner walk is calling, and the outer walk
//   calls it if it comes to that place before it comes to its own marker.
// - A walk that an exception leaves first turns the list back to where the walk began.
// - A walk whose list is destroyed in a call ends with that call and touches the list no more.
//
// Threads: one at a time; walks and changes are made under the lock of the list's owner. Only `empty` may be
// asked without it.
class MISC_API DLList
{
public:
    class Walk;

    explicit DLList(bool ownsRecords = false) noexcept : ownsRecords_(ownsRecords) {}
    // Ends all walks and takes out all records, which are deleted if the list owns them.
    ~DLList();
    DLList(const DLList&) = delete;
    DLList& operator=(const DLList&) = delete;

    // Whether `remove` and the destructor delete the records.
    bool ownsRecords() const noexcept { return ownsRecords_; }
    void ownsRecords(bool owns) noexcept { ownsRecords_ = owns; }

    bool empty() const noexcept { return head() == nullptr; }
    unsigned size() const noexcept;

    // The first record, and the one behind a record of this list; null at the end.
    DLListRec* head() const noexcept { return head_.load(std::memory_order_relaxed); }
    DLListRec* next(const DLListRec* record) const noexcept;

    // Puts a record before the head, which is behind the last one. False, and nothing done, if it stands in
    // a list already.
    bool append(DLListRec* record) noexcept;

    // Takes a record out and gives it to the caller; null if it doesn't stand in this list.
    DLListRec* extract(DLListRec* record) noexcept;

    // Takes a record out, and deletes it if the list owns its records.
    void remove(DLListRec* record);
    void clear();

    // Walks: gives each record to `call`, whose result is ignored. False if the list was destroyed meanwhile.
    template <class Call>
    bool apply(Call&& call);

private:
    void setHead(DLListRec* record) noexcept { head_.store(record, std::memory_order_relaxed); }

    // Atomic for the sake of `empty` alone.
    std::atomic<DLListRec*> head_{nullptr};
    Walk* innermost_ = nullptr;
    bool ownsRecords_;
};

// A walk in progress, on the stack of whoever walks:
//
//     DLList::Walk walk(list);
//     for (DLListRec* record = walk.first(); record != nullptr; record = walk.next())
//
// Walks of one list end in the reverse order of their beginnings.
class DLList::Walk
{
public:
    explicit Walk(DLList& list) noexcept : list_(&list), outer_(list.innermost_) { list.innermost_ = this; }
    ~Walk() { end(); }
    Walk(const Walk&) = delete;
    Walk& operator=(const Walk&) = delete;

    // The record to call, null for none. `next` is for after the call, whatever it did.
    DLListRec* first() noexcept { return current_ = list_->head(); }
    DLListRec* next() noexcept;

    // False once the list is destroyed.
    bool listStands() const noexcept { return list_ != nullptr; }

    // Turns the list back to where the walk began, if it isn't there, and lets go of it.
    void end() noexcept;

private:
    friend class DLList;

    DLList* list_;
    Walk* const outer_;
    DLListRec* current_ = nullptr; // the one that is being called, null once it is removed
    DLListRec* marker_ = nullptr;  // the first one of those called that are still there
    bool isFirstCall_ = true;
};

inline DLListRec* DLList::Walk::next() noexcept
{
    if (list_ == nullptr) [[unlikely]]
        return nullptr;
    isFirstCall_ = false;
    if (current_ != nullptr) [[likely]]
    {
        if (marker_ == nullptr)
            marker_ = current_;
        list_->setHead(current_->next_);
    }
    // The head of an empty list and its marker are both null.
    DLListRec* const head = list_->head();
    current_ = head != marker_ ? head : nullptr;
    return current_;
}

inline void DLList::Walk::end() noexcept
{
    if (list_ == nullptr)
        return;
    if (marker_ != nullptr)
        list_->setHead(marker_);
    list_->innermost_ = outer_;
    list_ = nullptr;
}

template <class Call>
bool DLList::apply(Call&& call)
{
    Walk walk(*this);
    for (DLListRec* record = walk.first(); record != nullptr; record = walk.next())
        call(record);
    return walk.listStands();
}
