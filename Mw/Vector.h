#pragma once

#include "Mw/Assert.h"

#include <algorithm>
#include <initializer_list>
#include <type_traits>
#include <utility>
#include <vector>

// A sequence in one block, of its own elements: a copy copies them. An index out of range is reported by
// an assertion, after which execution goes on. One thread at a time.
template <class T>
class Vector
{
    static_assert(!std::is_same_v<T, bool>);

public:
    using value_type = T;
    using iterator = T*;
    using const_iterator = const T*;

    Vector() noexcept = default;
    Vector(std::initializer_list<T> items) : items_(items) {}

    unsigned size() const noexcept { return static_cast<unsigned>(items_.size()); }
    bool empty() const noexcept { return items_.empty(); }

    // `index` must be below the size: the assertion doesn't keep an access outside from happening.
    T& operator[](unsigned index) noexcept
    {
        check(index);
        return items_.data()[index];
    }
    const T& operator[](unsigned index) const noexcept
    {
        check(index);
        return items_.data()[index];
    }
    T& front() noexcept { return (*this)[0]; }
    const T& front() const noexcept { return (*this)[0]; }
    T& back() noexcept { return (*this)[size() - 1]; }
    const T& back() const noexcept { return (*this)[size() - 1]; }

    iterator begin() noexcept { return items_.data(); }
    iterator end() noexcept { return items_.data() + items_.size(); }
    const_iterator begin() const noexcept { return items_.data(); }
    const_iterator end() const noexcept { return items_.data() + items_.size(); }

    // An element of this vector may be given.
    void push_back(const T& item) { items_.push_back(item); }
    void push_back(T&& item) { items_.push_back(std::move(item)); }
    template <class... Args>
    T& emplace_back(Args&&... args)
    {
        return items_.emplace_back(std::forward<Args>(args)...);
    }

    // Keeps the order of the others. Out of range: the assertion, and nothing is removed.
    void remove(unsigned index)
    {
        if (check(index))
            items_.erase(items_.begin() + index);
    }

    // Removes the first that equals `item`; false if there is none.
    bool removeItem(const T& item)
    {
        const auto found = std::find(items_.begin(), items_.end(), item);
        if (found == items_.end())
            return false;
        items_.erase(found);
        return true;
    }

    bool contains(const T& item) const { return std::find(items_.begin(), items_.end(), item) != items_.end(); }
    void clear() noexcept { items_.clear(); }
    void reserve(unsigned count) { items_.reserve(count); }
    void swap(Vector& other) noexcept { items_.swap(other.items_); }

    friend bool operator==(const Vector& a, const Vector& b) { return a.items_ == b.items_; }
    friend void swap(Vector& a, Vector& b) noexcept { a.swap(b); }

private:
    bool check(unsigned index) const noexcept
    {
        const bool inRange = index < items_.size();
        if (!inRange) [[unlikely]]
            Mw::assertionFailed("i < size_", "Mw/Vector line 61");
        return inRange;
    }

    std::vector<T> items_;
};
