#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

class KeyMap;

// From key codes to key maps: a hash table without chains, at most half full. A search ends at the code or at the
// first empty place. One thread at a time; searches alone are safe from many.
class KeyIndex
{
public:
    // Null if the code isn't there.
    KeyMap* find(int code) const noexcept
    {
        if (places_.empty())
            return nullptr;
        for (std::size_t at = home(code);; at = next(at))
            if (places_[at].map == nullptr || places_[at].code == code)
                return places_[at].map;
    }

    // Room for so many codes.
    void reserve(std::size_t count)
    {
        if (count * 2 > places_.size())
            grow(count * 2);
    }

    // Enters a map that isn't null; false if the code is there already.
    bool insert(int code, KeyMap* map)
    {
        reserve(size_ + 1);
        std::size_t at = home(code);
        for (; places_[at].map != nullptr; at = next(at))
            if (places_[at].code == code)
                return false;
        places_[at] = {code, map};
        ++size_;
        return true;
    }

    void erase(int code) noexcept
    {
        if (find(code) == nullptr)
            return;
        std::size_t hole = home(code);
        while (places_[hole].code != code)
            hole = next(hole);
        // What a search would reach only by way of the hole moves into it.
        for (std::size_t at = next(hole); places_[at].map != nullptr; at = next(at))
            if (((at - home(places_[at].code)) & mask()) >= ((at - hole) & mask()))
            {
                places_[hole] = places_[at];
                hole = at;
            }
        places_[hole] = {};
        --size_;
    }

    std::size_t size() const noexcept { return size_; }

private:
    struct Place
    {
        int code = 0;
        KeyMap* map = nullptr;
    };

    std::size_t mask() const noexcept { return places_.size() - 1; }
    std::size_t next(std::size_t at) const noexcept { return (at + 1) & mask(); }
    std::size_t home(int code) const noexcept
    {
        // The upper half of a product depends on all bits of the code: flags are in its top, keys in its bottom.
        return static_cast<std::size_t>((static_cast<std::uint32_t>(code) * 0x9E3779B97F4A7C15u) >> 32) & mask();
    }

    void grow(std::size_t atLeast)
    {
        std::size_t count = 16;
        while (count < atLeast)
            count *= 2;
        std::vector<Place> old(count);
        old.swap(places_);
        size_ = 0;
        for (const Place& place : old)
            if (place.map != nullptr)
                insert(place.code, place.map);
    }

    std::vector<Place> places_; // a power of two of them, or none
    std::size_t size_ = 0;
};
