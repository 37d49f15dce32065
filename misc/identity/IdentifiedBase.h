#pragma once

#include "misc/identity/IdStamp.h"

// What gives an object an id stamp of its own: a new one, unless it is given another. One thread at a time;
// reading is safe from many.
class IdentifiedBase
{
public:
    IdentifiedBase() = default;
    explicit IdentifiedBase(const IdStamp& id) noexcept : id_(id) {}

    const IdStamp& id() const noexcept { return id_; }
    void id(const IdStamp& id) noexcept { id_ = id; }

private:
    IdStamp id_;
};
