#pragma once

#include "misc/persistence/PStream.h"

#include <concepts>
#include <limits>

// A number of the older object headers, which took two widths: a value below the largest of `Small` in the
// width of `Small`; any other as that largest value, the escape, and then itself in the width of `Large`.
//
//     <unsigned char, unsigned short>    254: fe        255: ff ff 00        1000: ff e8 03
//     <unsigned short, unsigned int>   65534: fe ff   65535: ff ff ff ff 00 00
template <std::unsigned_integral Small, std::unsigned_integral Large>
class DynamicIntegralStorage
{
public:
    static constexpr Small escape = std::numeric_limits<Small>::max();

    DynamicIntegralStorage() = default;
    explicit DynamicIntegralStorage(Large value) noexcept : value_(value) {}
    DynamicIntegralStorage(const DynamicIntegralStorage&) = default;
    DynamicIntegralStorage& operator=(const DynamicIntegralStorage&) = default;
    virtual ~DynamicIntegralStorage() = default;

    Large value() const noexcept { return value_; }

    virtual void pack(PStream& stream) const
    {
        if (value_ < escape)
            stream << static_cast<Small>(value_);
        else
            stream << escape << value_;
    }
    // A part that the end of the file cuts leaves the value as it was.
    virtual void unpack(PStream& stream)
    {
        Small small;
        if (!stream.file()->get(small))
            return;
        if (small == escape)
            stream >> value_;
        else
            value_ = small;
    }

private:
    Large value_ = 0;
};
