#pragma once

#include "OS/Export.h"

#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>

namespace Mw
{

// A 128-bit identity as a plain value. It is held as four 32-bit words, most significant first, so that
// UUIDs order like their texts:
//
//     word        0        1         2         3
//     text    01234567-89ab-cdef-0123-456789abcdef
//
// Any thread, like an int.
class UUID
{
public:
    static constexpr unsigned textLength = 36;
    using Words = std::array<std::uint32_t, 4>;

    // The nil value: all words 0.
    constexpr UUID() noexcept = default;
    explicit constexpr UUID(const Words& words) noexcept : words_(words) {}

    // From a text of exactly 36 characters, digits of either case. Null or another text gives nil.
    LIBMW_API explicit UUID(const char* text) noexcept;
    LIBMW_API explicit UUID(const wchar_t* text) noexcept;
    LIBMW_API static UUID fromText(std::string_view text) noexcept;

    // A new random value (version 4) from the kernel's source of randomness, also in a forked child.
    LIBMW_API static UUID generate();

    // Whether this is an identity at all: nil, and so what an invalid text gave, is not.
    constexpr bool valid() const noexcept { return words_ != Words{}; }

    constexpr const Words& words() const noexcept { return words_; }

    constexpr bool operator==(const UUID&) const noexcept = default;
    constexpr auto operator<=>(const UUID&) const noexcept = default;

    // Writes the 36 characters, in lower case, and a terminator.
    LIBMW_API void asString(char* text) const noexcept;
    LIBMW_API void asWString(wchar_t* text) const noexcept;

private:
    Words words_{};
};

static_assert(sizeof(UUID) == 16 && alignof(UUID) == 4);

} // namespace Mw

template <>
struct std::hash<Mw::UUID>
{
    std::size_t operator()(const Mw::UUID& uuid) const noexcept
    {
        // Both halves of a numbered identity reach the low bits.
        const auto& w = uuid.words();
        const std::uint64_t high = std::uint64_t{w[0]} << 32 | w[1];
        const std::uint64_t low = std::uint64_t{w[2]} << 32 | w[3];
        const std::uint64_t mixed = (high ^ low) * 0x9E3779B97F4A7C15u;
        return static_cast<std::size_t>(mixed ^ mixed >> 32);
    }
};
