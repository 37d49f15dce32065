#include "misc/identity/IdStamp.h"

#include "Mw/Assert.h"
#include "Mw/CText.h"
#include "OS/Debugger.h"
#include "OS/ForkCount.h"
#include "OS/OS.h"
#include "misc/diagnostics/Console.h"
#include "misc/identity/MachineNumber.h"
#include "misc/persistence/PStream.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string_view>

namespace
{

// Seconds from the epoch of stamps, read from the system's clock.
std::int64_t currentSecond()
{
    return OS().debugger().getClockSeconds() - IdStamp::epochSeconds;
}

// Hands out the seconds and counts of stamps, each pair once in the life of a process. The last pair is one
// number, the count in its low 30 bits, that only grows.
class StampCounter
{
public:
    static constexpr unsigned countBits = 30;
    static constexpr std::int64_t lastCount = (std::int64_t{1} << countBits) - 1;

    std::int64_t next()
    {
        const std::int64_t second = std::max(currentSecond(), firstSecondOfProcess());
        std::int64_t last = last_.load(std::memory_order_relaxed);
        std::int64_t next;
        do
        {
            // All counts of the second are taken: until another thread, with a later clock, begins a new one.
            while ((last & lastCount) == lastCount && second <= last >> countBits)
                last = last_.load(std::memory_order_relaxed);
            next = second > last >> countBits ? second << countBits : following(last);
        } while (!last_.compare_exchange_weak(last, next, std::memory_order_relaxed));
        return next;
    }

private:
    // The bits of the count that overlap the magic stay once they are set.
    static std::int64_t following(std::int64_t last) { return (last + 1) | (last & magicBitsOfCount); }

    // A forked child knows its parent's last second, which the parent goes on with, and begins a new one.
    std::int64_t firstSecondOfProcess()
    {
        const unsigned forks = forkCount();
        if (forks_.load(std::memory_order_acquire) != forks)
        {
            // Threads that come here at once may skip a second each.
            first_.store((last_.load(std::memory_order_relaxed) >> countBits) + 1, std::memory_order_relaxed);
            forks_.store(forks, std::memory_order_release);
        }
        return first_.load(std::memory_order_relaxed);
    }

    static constexpr std::int64_t magicBitsOfCount = 0x3C000000;
    static constexpr std::int64_t none = std::numeric_limits<std::int64_t>::min();

    std::atomic<std::int64_t> last_{none};
    std::atomic<std::int64_t> first_{none};
    std::atomic<unsigned> forks_{0};
};

constinit StampCounter theCounter;
constinit std::atomic<int> theMachine{0};

// Asks again each time while there is none.
std::uint32_t machineOfStamps()
{
    int machine = theMachine.load(std::memory_order_relaxed);
    if (machine == 0)
    {
        machine = our_machine_number_get_from_file();
        theMachine.store(machine, std::memory_order_relaxed);
    }
    return static_cast<std::uint32_t>(machine);
}

constexpr std::size_t wordDigits = 8;

int hexDigit(char c) noexcept
{
    return c >= '0' && c <= '9' ? c - '0' : c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
}

// As strtol, which reads what stamps don't write.
std::uint32_t wordOf(const char* digits) noexcept
{
    std::uint32_t word = 0;
    std::size_t count = 0;
    for (int digit; count <= wordDigits && (digit = hexDigit(digits[count])) >= 0; ++count)
        word = word << 4 | static_cast<std::uint32_t>(digit);
    if (digits[count] == '\0' && count <= wordDigits)
        return word;
    return static_cast<std::uint32_t>(std::strtol(digits, nullptr, 16));
}

// The word in the next eight characters, which are passed over, or in what is left of them.
std::uint32_t nextWord(const char*& text) noexcept
{
    char digits[wordDigits + 1] = {};
    const std::size_t length = Mw::CText::lengthWithin(text, wordDigits);
    std::memcpy(digits, text, length);
    text += length;
    return wordOf(digits);
}

// Eight digits as one number, the last in its lowest byte.
constexpr std::uint64_t inEachByte = 0x0101010101010101;

std::uint64_t digitsOf(std::uint32_t word) noexcept
{
    std::uint64_t digits = (word & 0xFFFF) | std::uint64_t{word >> 16} << 32;
    digits = (digits & 0x000000FF000000FF) | (digits & 0x0000FF000000FF00) << 8;
    digits = (digits & 0x000F000F000F000F) | (digits & 0x00F000F000F000F0) << 4;
    const std::uint64_t isLetter = (digits + 6 * inEachByte) >> 4 & inEachByte;
    return digits + '0' * inEachByte + isLetter * ('A' - '9' - 1);
}

// Of what are no digits any word.
std::uint32_t wordOf(std::uint64_t digits) noexcept
{
    const std::uint64_t isLetter = digits >> 6 & inEachByte;
    digits = (digits & 15 * inEachByte) + 9 * isLetter;
    digits = (digits | digits >> 4) & 0x00FF00FF00FF00FF;
    digits = (digits | digits >> 8) & 0x0000FFFF0000FFFF;
    return static_cast<std::uint32_t>(digits | digits >> 16);
}

// Such a number as text, and the text as such a number. g++ finds no swap of bytes in a loop.
std::uint64_t bigEndian(std::uint64_t digits) noexcept
{
    return std::endian::native == std::endian::little ? __builtin_bswap64(digits) : digits;
}
void putDigits(char* to, std::uint64_t digits) noexcept
{
    digits = bigEndian(digits);
    std::memcpy(to, &digits, sizeof digits);
}
std::uint64_t getDigits(const char* from) noexcept
{
    std::uint64_t digits;
    std::memcpy(&digits, from, sizeof digits);
    return bigEndian(digits);
}

// How many digits a number has.
unsigned digitCount(std::uint32_t word) noexcept
{
    return (static_cast<unsigned>(std::bit_width(word | 1)) + 3) / 4;
}

} // namespace

IdStamp::IdStamp()
{
    const std::int64_t made = theCounter.next();
    machineNum_ = machineOfStamps();
    timeBits_ = static_cast<std::uint32_t>(made >> StampCounter::countBits);
    tickWord_ = static_cast<std::uint32_t>(made & StampCounter::lastCount);
}

IdStamp::IdStamp(const char* text) noexcept : IdStamp(0, 0, 0)
{
    if (text == nullptr)
        return;
    machineNum_ = nextWord(text);
    timeBits_ = nextWord(text);
    tickWord_ = wordOf(text);
}

std::optional<IdStamp> IdStamp::ofText(std::string_view text) noexcept
{
    if (text.empty())
        return IdStamp(0, 0, 0);
    if (text.size() <= 2 * wordDigits || text.size() > longestText)
        return std::nullopt;
    const std::size_t count = text.size() - 2 * wordDigits;
    const std::uint64_t machine = getDigits(text.data());
    const std::uint64_t time = getDigits(text.data() + wordDigits);
    // The last word may be shorter, with digits of the one before it in front.
    const std::uint64_t tickMask = ~std::uint64_t{0} >> 8 * (wordDigits - count);
    const std::uint64_t tick = getDigits(text.data() + count + wordDigits) & tickMask;
    const IdStamp stamp(wordOf(machine), wordOf(time), wordOf(tick));
    const bool isAsWritten = digitsOf(stamp.machineNum_) == machine && digitsOf(stamp.timeBits_) == time &&
                             (digitsOf(stamp.tickWord_) & tickMask) == tick && digitCount(stamp.tickWord_) == count;
    return isAsWritten && stamp.valid() ? std::optional(stamp) : std::nullopt;
}

char* IdStamp::writeText(char (&text)[longestText]) const noexcept
{
    if (!valid())
        return text;
    const unsigned count = digitCount(tickWord_);
    putDigits(text, digitsOf(machineNum_));
    putDigits(text + wordDigits, digitsOf(timeBits_));
    // What follows the digits of a shorter number is never read.
    putDigits(text + 2 * wordDigits, digitsOf(tickWord_ << 4 * (wordDigits - count)));
    return text + 2 * wordDigits + count;
}

LightweightString<char> IdStamp::asString() const
{
    char text[longestText];
    const char* const end = writeText(text);
    return LightweightString<char>(std::string_view(text, static_cast<std::size_t>(end - text)));
}

void IdStamp::pack(PStream& stream) const
{
    char text[longestText];
    const char* const end = writeText(text);
    stream.file()->write(text, static_cast<unsigned>(end - text));
    stream.file()->put('\0');
}

void IdStamp::unpack(PStream& stream, unsigned char version)
{
    constexpr unsigned oldestHeadBytes = 38;
    constexpr std::uint32_t lastTickOfFirstRevision = 0x3FFFFFF;

    if (version == 'S')
    {
        stream.file()->setPosition(stream.file()->position() + oldestHeadBytes);
        version = 1;
    }
    GrowString text;
    stream.file()->readBinary(text, false);
    *this = IdStamp(text.c_str());
    if (version == 1 && tickWord_ > lastTickOfFirstRevision)
    {
        const char* const warning = "WARNING: Encountered Rev.1 IdStamp with out-of-range tickBits value.\n";
        herc_printf("%s", warning);
        std::fputs(warning, Mw::diagnosticStream());
    }
}
