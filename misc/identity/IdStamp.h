#pragma once

#include "Mw/LightweightString.h"
#include "OS/Export.h"

#include <compare>
#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>

class PStream;

namespace IdStampMagic
{

// Marks that applications put on a stamp: 6 bits, 0 for none.
enum MagicType : std::uint32_t
{
    eNone = 0
};

} // namespace IdStampMagic

// A light identity for objects that need no Cookie: the machine that made it, the second in which, and a
// count within that second. Its text is 17 to 24 hexadecimal digits, "0000006437A1B2C05".
//
// Stamps that one process makes all differ, on any number of threads, also where the clock is set back.
// A plain value of 12 bytes; any thread, like an int.
class MISC_API IdStamp
{
public:
    static constexpr std::int64_t epochSeconds = 803733504; // 1995-06-21 11:18:24 UTC

    // A new stamp. Only the first one of the process looks for the machine's number, and any that follows
    // while the machine has none.
    IdStamp();

    constexpr IdStamp(std::uint32_t machine, std::uint32_t time, std::uint32_t tick) noexcept
        : machineNum_(machine), timeBits_(time), tickWord_(tick)
    {
    }

    // From the text form: eight digits, eight digits, and the rest. A word that is missing or no number is
    // 0; null and the empty text give the null stamp.
    explicit IdStamp(const char* text) noexcept;

    // The stamp whose text form is this, to the letter; none if there is no such stamp.
    static std::optional<IdStamp> ofText(std::string_view text) noexcept;

    // The difference of the machines, of the times or of the tick words, whichever is the first that isn't
    // 0: an unsigned difference read as an int, so far-apart values may order either way round.
    constexpr int compare(const IdStamp& other) const noexcept;

    constexpr bool operator==(const IdStamp&) const noexcept = default;

    // The words as unsigned numbers, in the same order: for sorted containers.
    constexpr std::strong_ordering operator<=>(const IdStamp&) const noexcept = default;

    // Whether the time isn't 0.
    constexpr bool valid() const noexcept { return timeBits_ != 0; }

    // Make this the null stamp, whose words are all 0.
    constexpr void nullify() noexcept { *this = IdStamp(0, 0, 0); }
    constexpr void invalidate() noexcept { nullify(); }

    constexpr std::uint32_t machineNum() const noexcept { return machineNum_; }

    // Seconds since the epoch of stamps.
    constexpr std::uint32_t timeBits() const noexcept { return timeBits_; }

    // The tick word has two views that overlap: the count is its low 30 bits, the magic its top 6.
    constexpr std::uint32_t tickCount() const noexcept { return tickWord_ & tickCountMask; }
    constexpr IdStampMagic::MagicType getMagicType() const noexcept
    {
        return static_cast<IdStampMagic::MagicType>(tickWord_ >> magicShift);
    }
    constexpr bool isMagic() const noexcept { return tickWord_ >> magicShift != 0; }

    // Clears bits 30 and 31 and then adds the bits of `type` from 26 on: counts from 0x4000000 mix with it.
    constexpr void setMagicType(IdStampMagic::MagicType type) noexcept
    {
        tickWord_ = (tickWord_ & tickCountMask) | static_cast<std::uint32_t>(type) << magicShift;
    }

    // Empty for a stamp that isn't valid.
    LightweightString<char> asString() const;

    // Writes the text form, terminated.
    void pack(PStream& stream) const;

    // Reads what pack wrote. Version 1 warns of counts beyond its 26 bits and keeps them; version 'S' is
    // version 1 behind 38 bytes of the oldest layout.
    void unpack(PStream& stream, unsigned char version);

private:
    static constexpr std::size_t longestText = 24;
    // Writes the text form, without a terminator; gives where it ends.
    char* writeText(char (&text)[longestText]) const noexcept;

    static constexpr std::uint32_t tickCountMask = 0x3FFFFFFF;
    static constexpr unsigned magicShift = 26;

    std::uint32_t machineNum_;
    std::uint32_t timeBits_;
    std::uint32_t tickWord_;
};

static_assert(sizeof(IdStamp) == 12);

constexpr int IdStamp::compare(const IdStamp& other) const noexcept
{
    if (machineNum_ != other.machineNum_)
        return static_cast<int>(machineNum_ - other.machineNum_);
    if (timeBits_ != other.timeBits_)
        return static_cast<int>(timeBits_ - other.timeBits_);
    return static_cast<int>(tickWord_ - other.tickWord_);
}

template <>
struct std::hash<IdStamp>
{
    std::size_t operator()(const IdStamp& stamp) const noexcept
    {
        const std::uint64_t time = std::uint64_t{stamp.timeBits()} << 32;
        const std::uint64_t tick = std::uint64_t{stamp.getMagicType()} << 26 | stamp.tickCount();
        const std::uint64_t mixed = ((time | tick) ^ std::uint64_t{stamp.machineNum()} << 16) * 0x9E3779B97F4A7C15u;
        return static_cast<std::size_t>(mixed ^ mixed >> 32);
    }
};
