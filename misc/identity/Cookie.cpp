#include "misc/identity/Cookie.h"

#include "Mw/Exception.h"
#include "misc/diagnostics/FatalError.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

constexpr char kBase36Codes[] = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";
constexpr char kBase52Extras[] = "()[]{}+-&$@!=;_~";
constexpr char kBase52Codes[] = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ()[]{}+-&$@!=;_~";

namespace
{

constexpr unsigned classicLength = 8;
constexpr unsigned uuidLength = 4 + Mw::UUID::textLength;
constexpr unsigned noMachineCode = 0xFFFFFFFFu;
constexpr unsigned noMachine = 65535;

struct WipeBlock
{
    unsigned base; // the wipes are the numbers base + 1 to base + 20
    Wipe_Direction direction;
};
constexpr unsigned wipesPerBlock = 20;
constexpr std::array<WipeBlock, 4> wipeBlocks{{
    {46656, eWipeFirstBlock},
    {93312, eWipeSecondBlock},
    {47952, eWipeFirstBlock},
    {94608, eWipeSecondBlock},
}};

// Null if the number is that of no wipe.
const WipeBlock* wipeBlockOf(unsigned number) noexcept
{
    const auto found = std::find_if(wipeBlocks.begin(), wipeBlocks.end(),
                                    [=](const WipeBlock& block) { return number - block.base - 1 < wipesPerBlock; });
    return found != wipeBlocks.end() ? found : nullptr;
}

// As far as the longest form goes: longer texts give one character more.
std::size_t formLength(const char* text) noexcept
{
    const void* const end = std::memchr(text, 0, uuidLength + 1);
    return end != nullptr ? static_cast<std::size_t>(static_cast<const char*>(end) - text) : uuidLength + 1;
}

constexpr unsigned index(char c) noexcept
{
    return static_cast<unsigned char>(c);
}

constexpr bool isDigit(unsigned c) noexcept
{
    return c >= '0' && c <= '9';
}

constexpr bool isAlpha(unsigned c) noexcept
{
    return (c | 0x20) >= 'a' && (c | 0x20) <= 'z';
}

constexpr char upperCase(char c) noexcept
{
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - ('a' - 'A')) : c;
}

// The place of each character among the 52, with case folded.
constexpr signed char noPlace = -1;
constexpr std::array<signed char, 256> base52Places = []
{
    std::array<signed char, 256> places{};
    places.fill(noPlace);
    for (unsigned place = 0; place < 52; ++place)
        places[index(kBase52Codes[place])] = static_cast<signed char>(place);
    for (unsigned c = 'a'; c <= 'z'; ++c)
        places[c] = places[c - ('a' - 'A')];
    return places;
}();

constexpr std::array<unsigned char, 256> base36Digits = []
{
    std::array<unsigned char, 256> digits{};
    for (unsigned c = 0; c < digits.size(); ++c)
        if (isDigit(c) || (c < 128 && isAlpha(c)))
            digits[c] = static_cast<unsigned char>(base52Places[c]);
    return digits;
}();

// Two characters as a code; -1 if one of them belongs to none.
int machineCode(char first, char second) noexcept
{
    const int a = base52Places[index(first)];
    const int b = base52Places[index(second)];
    if (a == noPlace || b == noPlace)
        return -1;
    if (a > 35)
        return a * 52 + b;
    if (b > 35)
        return a * 16 + b + 1260;
    return a * 36 + b;
}

struct MachineCharacters
{
    char first;
    char second;
};

// For codes below Cookie::machineLimit.
MachineCharacters machineCharacters(unsigned code) noexcept
{
    if (code < 1296)
        return {kBase36Codes[code / 36], kBase36Codes[code % 36]};
    if (code < 1872)
        return {kBase36Codes[(code - 1296) / 16], kBase52Extras[code % 16]};
    return {kBase52Extras[(code - 1872) / 52], kBase52Codes[(code - 1872) % 52]};
}

// As strtol base 10 reads: false if there is no number. For texts too short to overflow.
template <class C>
bool scanNumber(const C* text, long long& value) noexcept
{
    while (*text == ' ' || (*text >= '\t' && *text <= '\r'))
        ++text;
    const bool negative = *text == '-';
    if (negative || *text == '+')
        ++text;
    if (*text < '0' || *text > '9')
        return false;
    long long magnitude = 0;
    for (; *text >= '0' && *text <= '9'; ++text)
        magnitude = magnitude * 10 + (*text - '0');
    value = negative ? -magnitude : magnitude;
    return true;
}

template <class C>
LightweightString<C> invalidText()
{
    if constexpr (sizeof(C) == 1)
        return LightweightString<C>("INVALID");
    else
        return LightweightString<C>(L"INVALID");
}

// The rest of a text of the UUID form, whose length is known where it is narrow.
Mw::UUID readUuid(const char* text) noexcept
{
    return Mw::UUID::fromText({text, Mw::UUID::textLength});
}

Mw::UUID readUuid(const wchar_t* text) noexcept
{
    return Mw::UUID(text);
}

void writeUuidText(const Mw::UUID& uuid, char* out) noexcept
{
    uuid.asString(out);
}

void writeUuidText(const Mw::UUID& uuid, wchar_t* out) noexcept
{
    uuid.asWString(out);
}

} // namespace

Cookie::Cookie(CookieType type, int number, int subType, int machine)
{
    if (static_cast<unsigned>(number) >= numberLimit || typeFromChar(type) == invalidType)
        return;
    if (subType < 0 || (type == 'S' && subType != defaultSubType && subType > 35))
        return;
    if (machine == localMachine)
        machine = getLocalMachineNumber();
    else if (static_cast<unsigned>(machine) >= machineLimit)
        return;
    construct(type, static_cast<unsigned>(number), static_cast<unsigned short>(subType),
              static_cast<unsigned>(machine));
}

Cookie::Cookie(const char* text, bool keepSubType) noexcept
{
    initFromString(text, keepSubType);
}

Cookie::Cookie(const LightweightString<wchar_t>& text, bool keepSubType) noexcept
{
    const auto isAscii = [](wchar_t c) { return c > 0 && c < 128; };
    const wchar_t* const wide = text.c_str();
    if (text.length() == uuidLength && isAscii(*wide))
        readUuidForm(static_cast<CookieType>(*wide), wide, keepSubType);
    else if (text.length() == classicLength && std::all_of(wide, wide + classicLength, isAscii))
    {
        char narrow[classicLength + 1]{};
        std::transform(wide, wide + classicLength, narrow, [](wchar_t c) { return static_cast<char>(c); });
        initFromString(narrow, keepSubType);
    }
}

void Cookie::initFromString(const char* text, bool keepSubType) noexcept
{
    invalidate();
    if (text == nullptr || *text == 0)
        return;
    const CookieType type = typeFromChar(*text);
    if (type == invalidType)
        return;
    const std::size_t length = formLength(text);
    if (length == classicLength)
        readClassicForm(type, text, keepSubType);
    else if (length == uuidLength)
        readUuidForm(type, text, keepSubType);
}

void Cookie::readClassicForm(CookieType type, const char* text, bool keepSubType) noexcept
{
    const int code = machineCode(text[1], text[3]);
    if (code < 0)
        return;
    const unsigned machine = decodeMachineNumber(static_cast<unsigned>(code));
    if (machine == noMachine)
        return;
    const unsigned subType = keepSubType ? base36Digits[index(text[2])] : defaultSubType;
    unsigned number = 0;
    for (unsigned i = 4; i < classicLength; ++i)
        number = number * 36 + base36Digits[index(text[i])];
    construct(type, number, static_cast<unsigned short>(subType), machine);
}

// `text` has the length of the UUID form, and its letter is `type`.
template <class C>
void Cookie::readUuidForm(CookieType type, const C* text, bool keepSubType) noexcept
{
    const Mw::UUID uuid = readUuid(text + 4);
    if (!uuid.valid() || type == invalidType)
        return;
    long long subType = 0;
    const bool hasNumber = scanNumber(text + 1, subType);
    constexpr bool asksForNumber = sizeof(C) > 1; // the wide form refuses a text without one
    if ((asksForNumber && !hasNumber) || (keepSubType && subType < 0))
        return;
    setUUID(uuid);
    type_ = static_cast<std::uint8_t>(type);
    subType_ = static_cast<std::uint8_t>(keepSubType ? subType & 0xFF : 0);
}

bool Cookie::isDissolve() const noexcept
{
    const unsigned n = number();
    return machine() == builtInMachine && (n == 2 || n == 4 || n == 1298 || n == 1300);
}

bool Cookie::isFilmDissolve() const noexcept
{
    return machine() == builtInMachine && (number() == 4 || number() == 1300);
}

bool Cookie::isWipe() const noexcept
{
    return machine() == builtInMachine && wipeBlockOf(number()) != nullptr;
}

bool Cookie::isInput() const noexcept
{
    return machine() == builtInMachine && number() >= 46678 && number() <= 46685;
}

bool Cookie::isEffectGraph() const noexcept
{
    return machine() == builtInMachine && number() == 46677;
}

int Cookie::wipeType() const noexcept
{
    const WipeBlock* const block = wipeBlockOf(number());
    return block != nullptr ? static_cast<int>(number() - block->base) : 0;
}

Wipe_Direction Cookie::wipeDirection() const noexcept
{
    const WipeBlock* const block = wipeBlockOf(number());
    return block != nullptr ? block->direction : eWipeSecondBlock;
}

LightweightString<char> Cookie::asString(bool withSubType) const
{
    return text<char>(withSubType);
}

LightweightString<wchar_t> Cookie::asWString() const
{
    return text<wchar_t>(true);
}

unsigned Cookie::shownSubType(bool withSubType) const noexcept
{
    return withSubType || type() == 'S' ? subType_ : 0;
}

// Written straight into the string's block: making the text costs one allocation.
template <class C>
LightweightString<C> Cookie::text(bool withSubType) const
{
    if (!valid())
        return invalidText<C>();

    const unsigned shown = shownSubType(withSubType);
    LightweightString<C> result;
    if (isUuid_)
    {
        const unsigned hundreds = shown / 100 != 0 ? 1 : 0;
        result.resizeFor(uuidLength + hundreds);
        C* out = result.writable();
        *out++ = static_cast<C>(type_);
        if (hundreds != 0)
            *out++ = static_cast<C>('0' + shown / 100);
        *out++ = static_cast<C>('0' + shown / 10 % 10);
        *out++ = static_cast<C>('0' + shown % 10);
        *out++ = '-';
        writeUuidText(uuid_, out);
        return result;
    }

    const unsigned code = encodeMachineNumber(static_cast<int>(machine()));
    if (code == noMachineCode)
    {
        oma_splat("Failed to encode machine number in cookie_string::construct");
        return invalidText<C>();
    }
    const auto [first, second] = machineCharacters(code);
    result.resizeFor(classicLength);
    C* const out = result.writable();
    out[0] = static_cast<C>(type_);
    out[1] = static_cast<C>(first);
    out[2] = static_cast<C>(digitToChar(static_cast<int>(shown)));
    out[3] = static_cast<C>(second);
    unsigned rest = number();
    for (unsigned i = classicLength - 1; i >= 4; --i, rest /= 36)
        out[i] = static_cast<C>(kBase36Codes[rest % 36]);
    return result;
}

bool Cookie::isValid(const char* text) noexcept
{
    if (text == nullptr)
        return false;
    const std::string_view view(text, formLength(text));
    const auto is = [&](unsigned place, auto&& test) { return test(static_cast<unsigned char>(view[place])); };
    const auto isMachineCharacter = [](unsigned char c) { return std::strchr(kBase52Codes, c) != nullptr; };
    const auto isAlphanumeric = [](unsigned char c) { return isDigit(c) || isAlpha(c); };
    const auto isHexDigit = [](unsigned char c) { return isDigit(c) || ((c | 0x20) >= 'a' && (c | 0x20) <= 'f'); };

    if (view.size() == classicLength)
    {
        constexpr std::string_view letters = "EFGOPRSV";
        return letters.find(view[0]) != std::string_view::npos && is(1, isMachineCharacter) &&
               is(3, isMachineCharacter) && is(2, isAlphanumeric) && is(4, isAlphanumeric) && is(5, isAlphanumeric) &&
               is(6, isAlphanumeric) && is(7, isAlphanumeric);
    }
    if (view.size() == uuidLength)
    {
        // Position 19 is left open: callers rely on what has always passed.
        constexpr std::string_view form = "ADD-HHHHHHHH-HHHH-H?HH-HHHH-HHHHHHHHHHHH";
        static_assert(form.size() == uuidLength);
        for (unsigned place = 0; place < uuidLength; ++place)
        {
            const char kind = form[place];
            if ((kind == 'A' && !is(place, isAlpha)) || (kind == 'D' && !is(place, isDigit)) ||
                (kind == 'H' && !is(place, isHexDigit)) || (kind == '-' && view[place] != '-'))
                return false;
        }
        return true;
    }
    return false;
}

CookieType Cookie::typeFromChar(char c) noexcept
{
    constexpr std::string_view letters = "BCEFGMOPRSTV";
    const char letter = upperCase(c);
    return letters.find(letter) != std::string_view::npos ? letter : invalidType;
}

int Cookie::charToDigit(char c) noexcept
{
    return base36Digits[index(c)];
}

char Cookie::digitToChar(int digit) noexcept
{
    return static_cast<char>(digit <= 9 ? digit + '0' : digit + 55);
}

unsigned Cookie::encodeMachineNumber(int machine) noexcept
{
    const auto n = static_cast<unsigned>(machine);
    if (n < 648)
        return 2 * n + 1;
    if (n < 1296)
        return 2 * n - 1296;
    return n < machineLimit ? n : noMachineCode;
}

unsigned Cookie::decodeMachineNumber(unsigned code) noexcept
{
    if (code > 1295)
        return code < machineLimit ? code : noMachine;
    return code % 2 == 0 ? code / 2 + 648 : code / 2;
}

unsigned short Cookie::get2DigitBase52Map36Code(unsigned code)
{
    if (code >= machineLimit)
        throw Mw::Exception::RuntimeError("Number out of range in get2DigitBase52Map36Code!", "misc/Cookie", 955);
    const auto [first, second] = machineCharacters(code);
    return static_cast<unsigned short>(index(first) | index(second) << 8);
}

int Cookie::base52Map36ToInt(char first, char second)
{
    const int code = machineCode(first, second);
    if (code < 0)
        throw Mw::Exception::RuntimeError("Invalid character(s) passed to base52Map36ToInt", "misc/Cookie", 969);
    return code;
}

bool isValidMachineNum(int machine) noexcept
{
    return machine != 0 && machine != Cookie::builtInMachine && static_cast<unsigned>(machine) < Cookie::machineLimit;
}

Cookie getWipeCookie(CookieType type, Wipe_Direction direction, int wipe)
{
    const unsigned base = direction == eWipeSecondBlock ? 93312 : 46656;
    return Cookie(type, static_cast<int>(base + static_cast<unsigned>(wipe)), 0, Cookie::builtInMachine);
}
