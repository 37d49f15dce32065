#pragma once

#include "OS/Export.h"

namespace Mw
{

struct InternalRefCountTraits;

// Where the count of a counted object lives: inside the object. The count starts at 0 and is changed by
// Mw::Ptr alone. A copy of an object has a count of its own.
class OS_API InternalRefCount
{
public:
    virtual ~InternalRefCount() = default;

protected:
    InternalRefCount() noexcept = default;
    InternalRefCount(const InternalRefCount&) noexcept {}
    InternalRefCount& operator=(const InternalRefCount&) noexcept { return *this; }

private:
    friend struct InternalRefCountTraits;

    int count_ = 0;
};

} // namespace Mw

// Base of every class that Mw::Ptr is to count. The count is a virtual base, so that an object has one
// count however many interfaces it is reached through. Interfaces that a class may inherit by more than
// one path derive from iObject virtually.
//
// A new object has count 0: alive, but owned by nobody until the first Ptr adopts it. It may live on the
// stack or as a member if no Ptr ever does.
class OS_API iObject : public virtual Mw::InternalRefCount
{
public:
    ~iObject() override = default;

protected:
    iObject() noexcept = default;
    iObject(const iObject&) noexcept = default;
    iObject& operator=(const iObject&) noexcept = default;
};
