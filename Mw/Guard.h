#pragma once

#include "Mw/Ptr.h"

namespace Mw
{

// A lifetime token: whoever holds the last Ptr to it holds a registration, and dropping it undoes the
// registration in the destructor of the derived class.
class OS_API Guard : public iObject
{
public:
    static constexpr bool hasMostlyOneOwner = true;

    ~Guard() override = default;
};

} // namespace Mw
