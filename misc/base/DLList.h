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
//   A record that is appended in it follows the rule above for the inner walk. For the outer walk it stands
//   where it was put, and is called if the walk comes there before it comes to its own marker: behind the
//   last record, if it came in the first call of the inner walk, so as if no inner walk ran, and else directly
//   before the record that the inner walk is calling.
// - A walk that an exception leaves first turns the list back to where the walk began.
// - A walk whose list is destroyed in a call ends with that call and touches the list no more.
//
// Threads: one at a time; walks and changes are made under the lock of the list's owner. Only `empty` may be
// asked without it.
class MISC_API DLList
{
public:
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

    // Walks: gives each record to `call`, whose result is ignored.
    template <class Call>
    void apply(Call&& call)
    {
        apply(call, [](bool) {});
    }

    // The same, and calls `atEnd` when the walk is over, by an exception too: with false if the list was
    // destroyed meanwhile, and else with true.
    template <class Call, class AtEnd>
    [[gnu::always_inline]] void apply(Call&& call, AtEnd&& atEnd);

private:
    class Walk;

    // Put the walks in progress right before a record is at the end of the list, and before one goes.
    void joinsInWalk(DLListRec* record) noexcept;
    void leavesInWalk(const DLListRec* record) noexcept;

    void setHead(DLListRec* record) noexcept { head_.store(record, std::memory_order_relaxed); }

    // Atomic for the sake of `empty` alone.
    std::atomic<DLListRec*> head_{nullptr};
    Walk* innermost_ = nullptr;
    bool ownsRecords_;
};

inline DLListRec::~DLListRec()
{
    if (list_ != nullptr) [[unlikely]]
        list_->extract(this);
}

inline bool DLList::append(DLListRec* record) noexcept
{
    if (record->list_ != nullptr)
        return false;
    DLListRec* const head = this->head();
    record->next_ = head != nullptr ? head : record;
    record->previous_ = head != nullptr ? head->previous_ : record;
    record->next_->previous_ = record;
    record->previous_->next_ = record;
    record->list_ = this;
    if (innermost_ != nullptr) [[unlikely]]
        joinsInWalk(record);
    if (head == nullptr)
        setHead(record);
    return true;
}

inline DLListRec* DLList::extract(DLListRec* record) noexcept
{
    if (record->list_ != this)
        return nullptr;
    if (innermost_ != nullptr) [[unlikely]]
        leavesInWalk(record);
    DLListRec* const next = record->next_;
    if (head() == record)
        setHead(next != record ? next : nullptr);
    next->previous_ = record->previous_;
    record->previous_->next_ = next;
    record->next_ = nullptr;
    record->previous_ = nullptr;
    record->list_ = nullptr;
    return record;
}

inline void DLList::remove(DLListRec* record)
{
    if (extract(record) != nullptr && ownsRecords_)
        delete record;
}

// A walk in progress, on the stack of `apply`. Walks of one list end in the reverse order of their beginnings.
class DLList::Walk
{
public:
    Walk(DLList& list, DLListRec* head) noexcept : list_(&list), outer_(list.innermost_), current_(head), marker_(head)
    {
        // The compiler doesn't see that the scope of `apply` takes it out again.
        Walk* self = this;
        asm("" : "+r"(self));
        list.innermost_ = self;
    }
    Walk(const Walk&) = delete;
    Walk& operator=(const Walk&) = delete;

    // From the record that was called, which may be gone, to the next one to call. False at the end. The list
    // is the one of the walk; it is used only if it still stands.
    bool next(DLList& list, DLListRec*& record) noexcept;

    // Turns the list back to where the walk began, if it isn't there. False if the list is destroyed.
    bool end() noexcept;

private:
    friend class DLList;

    // Null at the end.
    MISC_API DLListRec* nextOfRemoved() noexcept;
    DLListRec* placeAround(DLListRec* place) const noexcept;
    void recordLeaves(const DLListRec* record, DLListRec* next, const DLListRec* place) noexcept;

    // Whether the place where the walk began is the one where it stands: all that were called are gone, apart
    // from the one that is being called.
    bool isAtItsBeginning() const noexcept { return marker_ == nullptr || marker_ == current_; }

    DLList* list_; // null once it is destroyed
    Walk* const outer_;
    DLListRec* current_;      // the one that is being called, null once it is removed
    DLListRec* marker_;       // the first one of those called that are still there
    bool isFirstCall_ = true; // of use while the walk is at its beginning
};

inline bool DLList::Walk::next(DLList& list, DLListRec*& record) noexcept
{
    if (current_ != record) [[unlikely]]
        return (record = nextOfRemoved()) != nullptr;
    record = record->next_;
    list.setHead(record);
    current_ = record;
    return record != marker_;
}

inline bool DLList::Walk::end() noexcept
{
    if (list_ == nullptr) [[unlikely]]
        return false;
    if (marker_ != nullptr)
        list_->setHead(marker_);
    list_->innermost_ = outer_;
    return true;
}

// Inlined by order: what the two operations hold stays in registers then.
template <class Call, class AtEnd>
inline void DLList::apply(Call&& call, AtEnd&& atEnd)
{
    struct Scope
    {
        ~Scope() { atEnd_(walk_.end()); }

        Walk& walk_;
        AtEnd& atEnd_;
    };
    DLListRec* record = head();
    Walk walk(*this, record);
    const Scope scope{walk, atEnd};
    if (record == nullptr)
        return;
    do
        call(record);
    while (walk.next(*this, record));
}
