#pragma once

#include "Mw/LightweightString.h"
#include "OS/Export.h"
#include "libmw/UUID.h"

#include <atomic>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <type_traits>

// The letter that tells what a cookie names: 'V' video material, 'S' audio material, 'G' a container,
// 'P' a project; B, C, E, F, M, O, R and T belong to the applications. 'I' marks the invalid cookie.
using CookieType = char;

// Which block of numbers a wipe's cookie is taken from.
enum Wipe_Direction : int
{
    eWipeFirstBlock = 0,
    eWipeSecondBlock = 1
};

// The identity of a stored object: a project, a shot, a container. It names the object across machines
// and across runs, and its text is a file name and a key of the settings. The objects of one identity
// differ by letter and sub-type.
//
// There are two forms. The classic one is a number that a machine handed out, together with that
// machine's number, and reads as eight characters; the other is a UUID and reads as forty:
//
//     VZ0Z0001                                     video, sub-type 0, machine 647, number 1
//     V m s m n n n n                              letter, machine code in two, sub-type, base-36 number
//     V00-01234567-89ab-cdef-0123-456789abcdef     letter, sub-type, UUID
//
// A plain value of 20 bytes, copied freely. Any thread, like an int.
class MISC_API Cookie
{
public:
    // The form that a new cookie takes; any other value stands for the UUID form too.
    enum eVersion
    {
        eClassic = 0,
        eUuid = 1
    };

    static constexpr CookieType invalidType = 'I';
    static constexpr unsigned defaultSubType = 255;  // asks for 1 where the letter is 'S', 0 elsewhere
    static constexpr int localMachine = 65535;       // asks for the number of this machine
    static constexpr int builtInMachine = 647;       // black, dissolves, mixes, wipes, inputs
    static constexpr unsigned numberLimit = 1679616; // four base-36 digits
    static constexpr unsigned machineLimit = 2704;   // two characters out of 52

    // The invalid cookie.
    constexpr Cookie() noexcept = default;

    // The classic form. Invalid if the letter is none of those that name something, number or machine are
    // out of range, the sub-type is negative, or that of an 'S' is no base-36 digit.
    Cookie(CookieType type, int number, int subType, int machine);

    // The UUID form, without any check. The text form has room for sub-types up to 99.
    constexpr Cookie(CookieType type, const Mw::UUID& uuid, int subType) noexcept;

    // Reads either text form; a bad text gives the invalid cookie and no report. Without `keepSubType`
    // the sub-type becomes the letter's default in the classic form, and 0 in the UUID form.
    Cookie(const char* text, bool keepSubType) noexcept;

    // The same, but the letter of the UUID form is taken as it stands, whatever ASCII character it is.
    Cookie(const LightweightString<wchar_t>& text, bool keepSubType) noexcept;

    void initFromString(const char* text, bool keepSubType) noexcept;
    constexpr void invalidate() noexcept { *this = Cookie(); }

    // Makes this a classic cookie, without any check.
    constexpr void construct(CookieType type, unsigned number, unsigned short subType, unsigned machine) noexcept;

    // Makes this a cookie of the UUID form, which keeps its letter and sub-type.
    constexpr void setUUID(const Mw::UUID& uuid) noexcept;

    constexpr bool valid() const noexcept { return type() != invalidType; }
    constexpr CookieType type() const noexcept { return static_cast<CookieType>(type_); }
    constexpr unsigned subType() const noexcept { return subType_; }
    constexpr bool isUuid() const noexcept { return isUuid_; }
    constexpr const Mw::UUID& uuid() const noexcept { return uuid_; }

    // Of the classic form.
    constexpr unsigned number() const noexcept { return uuid_.words()[0]; }
    constexpr unsigned machine() const noexcept { return uuid_.words()[1]; }

    // Descending by letter, then ascending by sub-type, then descending by identity: the order of sorted
    // files. Negative if this one stands before the other. The form takes no part.
    constexpr int compare(const Cookie& other) const noexcept;
    constexpr bool operator==(const Cookie& other) const noexcept { return compare(other) == 0; }
    constexpr std::strong_ordering operator<=>(const Cookie& other) const noexcept { return compare(other) <=> 0; }

    // The built-in identities.
    bool isDissolve() const noexcept;
    bool isFilmDissolve() const noexcept;
    bool isWipe() const noexcept;
    bool isInput() const noexcept;
    bool isEffectGraph() const noexcept;

    // Which wipe of its block the number is, 1 to 20; 0 for a number of no wipe. Looks at the number alone,
    // as does wipeDirection, which gives the second block for all that is not in the first.
    int wipeType() const noexcept;
    Wipe_Direction wipeDirection() const noexcept;

    // The text form, "INVALID" for the invalid cookie. Without `withSubType` a sub-type of 0 is shown in
    // place of the real one, but for 'S'. A machine number that has no code ends the program.
    LightweightString<char> asString(bool withSubType) const;
    LightweightString<wchar_t> asWString() const; // always with the sub-type

    // Whether a text is one that a cookie prints. Stricter than reading in most: the letters of the classic
    // form are fewer, and machine codes are not folded to upper case.
    static bool isValid(const char* text) noexcept;

    // The letter in upper case, 'I' if it names nothing.
    static CookieType typeFromChar(char c) noexcept;

    // Base-36 digits, of either case; any other character is 0. The way back has no upper bound.
    static int charToDigit(char c) noexcept;
    static char digitToChar(int digit) noexcept;

    // Machine numbers, 0 to 2703, to codes and back. The odd codes below 1296 came first, then the even
    // ones, then the rest as they are. What is out of range gives 0xFFFFFFFF and 65535.
    static unsigned encodeMachineNumber(int machine) noexcept;
    static unsigned decodeMachineNumber(unsigned code) noexcept;

    // A code as two characters, the first in the low byte, and back, with case folded. The codes below
    // 1296 are two base-36 digits; the rest need one or two of sixteen extra characters. Throw
    // Mw::Exception::RuntimeError for a code above 2703 and for a character that belongs to no code.
    static unsigned short get2DigitBase52Map36Code(unsigned code);
    static int base52Map36ToInt(char first, char second);

    // The number of this machine, looked up on first use; 0 where it has none.
    static int getLocalMachineNumber();

    // The highest number that a stored object of this machine holds; 0 where the machine has no number.
    static int findHighestCookieNum();

private:
    static std::atomic<int> localMachineNumber_;

    template <class C>
    void readUuidForm(CookieType type, const C* text, bool keepSubType) noexcept;
    void readClassicForm(CookieType type, const char* text, bool keepSubType) noexcept;
    unsigned shownSubType(bool withSubType) const noexcept;
    template <class C>
    LightweightString<C> text(bool withSubType) const;

    static constexpr std::uint8_t resolvedSubType(CookieType type, unsigned subType) noexcept
    {
        return static_cast<std::uint8_t>(subType != defaultSubType ? subType : type == 'S' ? 1 : 0);
    }

    // Copy with another letter and sub-type; 255 asks for the letter's default.
    friend constexpr Cookie convertCookie(const Cookie& cookie, CookieType type, unsigned char subType) noexcept;

    Mw::UUID uuid_; // classic form: number, machine, 0, 0
    bool isUuid_ = false;
    std::uint8_t subType_ = 0;
    std::uint8_t type_ = invalidType;
};

static_assert(sizeof(Cookie) == 20 && std::is_trivially_copyable_v<Cookie>);

// Whether a machine can have this number: 1 to 2703, but not that of the built-in cookies.
MISC_API bool isValidMachineNum(int machine) noexcept;

// The same identity under another letter: how one object names its directory, its group's directory, its
// waveform. A sub-type of 255 asks for the letter's default.
constexpr Cookie convertCookie(const Cookie& cookie, CookieType type, unsigned char subType) noexcept;

// The cookie of a wipe, 1 to 20, of one of the two blocks. Invalid where the parts make no cookie.
MISC_API Cookie getWipeCookie(CookieType type, Wipe_Direction direction, int wipe);

// The characters of machine codes.
extern MISC_API const char kBase36Codes[37];
extern MISC_API const char kBase52Extras[17];
extern MISC_API const char kBase52Codes[53];

constexpr Cookie::Cookie(CookieType type, const Mw::UUID& uuid, int subType) noexcept
    : uuid_(uuid), isUuid_(true), subType_(static_cast<std::uint8_t>(subType)), type_(static_cast<std::uint8_t>(type))
{
}

constexpr void Cookie::construct(CookieType type, unsigned number, unsigned short subType, unsigned machine) noexcept
{
    uuid_ = Mw::UUID({number, machine, 0, 0});
    isUuid_ = false;
    subType_ = resolvedSubType(type, subType);
    type_ = static_cast<std::uint8_t>(type);
}

constexpr void Cookie::setUUID(const Mw::UUID& uuid) noexcept
{
    uuid_ = uuid;
    isUuid_ = true;
}

constexpr int Cookie::compare(const Cookie& other) const noexcept
{
    if (type_ != other.type_)
        return other.type_ - type_;
    if (subType_ != other.subType_)
        return subType_ - other.subType_;
    const auto order = other.uuid_ <=> uuid_;
    return order == 0 ? 0 : order < 0 ? -1 : 1;
}

constexpr Cookie convertCookie(const Cookie& cookie, CookieType type, unsigned char subType) noexcept
{
    Cookie converted(cookie);
    converted.type_ = static_cast<std::uint8_t>(type);
    converted.subType_ = Cookie::resolvedSubType(type, subType);
    return converted;
}

// The identities that are the same on every machine.
namespace detail
{

constexpr Cookie builtInCookie(CookieType type, unsigned number) noexcept
{
    Cookie cookie;
    cookie.construct(type, number, 0, Cookie::builtInMachine);
    return cookie;
}

} // namespace detail

inline constexpr Cookie video_black = detail::builtInCookie('V', 1);
inline constexpr Cookie audio_black = detail::builtInCookie('S', 1);
inline constexpr Cookie video_dissolve = detail::builtInCookie('V', 2);
inline constexpr Cookie audio_dissolve = detail::builtInCookie('S', 2);
inline constexpr Cookie video_mix50 = detail::builtInCookie('V', 3);
inline constexpr Cookie audio_mix50 = detail::builtInCookie('S', 3);
inline constexpr Cookie film_dissolve = detail::builtInCookie('V', 4);
inline constexpr Cookie invalid_cookie{};

// Agrees with the equality of cookies.
template <>
struct std::hash<Cookie>
{
    std::size_t operator()(const Cookie& cookie) const noexcept
    {
        const auto kind = static_cast<std::size_t>(static_cast<unsigned char>(cookie.type())) << 8 | cookie.subType();
        return std::hash<Mw::UUID>()(cookie.uuid()) ^ kind << 16;
    }
};
