#pragma once

#include "Mw/LightweightString.h"

#include <compare>

// Which kind of object a marker stands for: the dotted names of its classes, such as "Taggable.Event.Cut". A
// value of one word; the ids of one table share their texts. Any thread, like a LightweightString.
class TagTypeId
{
public:
    TagTypeId() noexcept = default;
    explicit TagTypeId(const LightweightString<char>& id) : id_(id) {}

    const LightweightString<char>& id() const noexcept { return id_; }
    bool empty() const noexcept { return id_.empty(); }

    friend bool operator==(const TagTypeId& a, const TagTypeId& b) noexcept
    {
        return a.id_.c_str() == b.id_.c_str() || a.id_ == b.id_;
    }
    friend std::strong_ordering operator<=>(const TagTypeId& a, const TagTypeId& b) noexcept
    {
        return std::string_view(a.id_) <=> std::string_view(b.id_);
    }

private:
    LightweightString<char> id_;
};
