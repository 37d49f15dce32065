#pragma once

#include "Mw/Ptr.h"

#include <algorithm>
#include <type_traits>
#include <vector>

// A counted handle on a vector. Copies share the vector and there is no copy-on-write: what is changed
// through one handle shows through all. The handle is never null. Any thread may copy its own handle;
// the elements are used by one thread at a time.
template <class T>
class OS_API LightweightVector : public iObject
{
    static_assert(!std::is_same_v<T, bool>);

public:
    using value_type = T;
    using iterator = typename std::vector<T>::iterator;
    using const_iterator = typename std::vector<T>::const_iterator;

    // An empty vector of its own, with places reserved.
    explicit LightweightVector(unsigned long reserved = 0) : items_(new std::vector<T>)
    {
        if (reserved != 0)
            items_->reserve(reserved);
    }

    // Share. There is no move, which would leave a handle without a vector.
    LightweightVector(const LightweightVector&) = default;
    LightweightVector& operator=(const LightweightVector&) = default;

    virtual void push_back(const T& item) { items_->push_back(item); }

    T& front() { return items_->front(); }
    const T& front() const { return items_->front(); }
    T& back() { return items_->back(); }
    const T& back() const { return items_->back(); }
    T& operator[](unsigned index) { return (*items_)[index]; }
    const T& operator[](unsigned index) const { return (*items_)[index]; }

    iterator begin() { return items_->begin(); }
    iterator end() { return items_->end(); }
    const_iterator begin() const { return items_->cbegin(); }
    const_iterator end() const { return items_->cend(); }
    unsigned size() const { return static_cast<unsigned>(items_->size()); }
    bool empty() const { return items_->empty(); }

    void clear() { items_->clear(); }
    // An index out of range removes nothing.
    void remove(unsigned index)
    {
        if (index < size())
            items_->erase(items_->begin() + index);
    }
    iterator erase(const_iterator place) { return items_->erase(place); }
    iterator erase(const_iterator first, const_iterator last) { return items_->erase(first, last); }

    // Exchanges the contents of the two shared vectors, not the handles.
    void swap(LightweightVector& other) { items_->swap(*other.items_); }

    // Takes the contents of the other; this vector stays shared with its own handles.
    void copyFrom(const LightweightVector& other) { *items_ = *other.items_; }

    // Appends the elements of the other, which may be the same vector. Room grows by doubling, as with
    // push_back, so that many small ones stay linear.
    LightweightVector& operator+=(const LightweightVector& other)
    {
        const std::size_t added = other.items_->size();
        if (const std::size_t needed = items_->size() + added; needed > items_->capacity())
            items_->reserve(std::max(needed, 2 * items_->capacity()));
        for (std::size_t i = 0; i < added; ++i)
            items_->push_back((*other.items_)[i]);
        return *this;
    }

    bool contains(const T& item) const { return std::find(begin(), end(), item) != end(); }

    // Element by element, in order.
    friend bool operator==(const LightweightVector& a, const LightweightVector& b) { return *a.items_ == *b.items_; }

private:
    Mw::Ptr<std::vector<T>, Mw::DtorTraits, Mw::ExternalRefCountTraits> items_;
};
