#pragma once

#include "Mw/iObject.h"
#include "OS/Export.h"

#include <cstddef>

// A block of bytes of somebody's, kept alive by whoever holds this: a mapped file, a resource, a buffer of a
// device. The bytes don't change and don't move while it lives, so any thread may read them.
class MISC_API iMemHolder : public iObject
{
public:
    // Null only where the size is 0.
    virtual const void* data() const = 0;
    virtual std::size_t sizeBytes() const = 0;
};
