#include "libmw/UUID.h"

#include "OS/ForkCount.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <memory>
#include <new>
#include <sys/random.h>
#include <uuid/uuid.h>

// Digits are handled eight at a time: the text of a word is a 64-bit number with one character in each
// byte, the first in the lowest.

namespace Mw
{

namespace
{

constexpr std::uint64_t inEachByte(std::uint64_t value) noexcept
{
    return value * 0x0101010101010101u;
}

std::uint64_t digitsOf(std::uint32_t word) noexcept
{
    // Bytes to lanes of sixteen bits, the highest byte first, and then each into its two halves.
    std::uint64_t d = word;
    d = (d << 32 | d >> 16) & 0x0000FFFF0000FFFFu;
    d = (d << 16 | d >> 8) & 0x00FF00FF00FF00FFu;
    d = (d << 8 | d >> 4) & 0x0F0F0F0F0F0F0F0Fu;
    const std::uint64_t letters = (d + inEachByte(6)) >> 4 & inEachByte(1);
    return d + inEachByte('0') + letters * ('a' - '0' - 10);
}

// False if one of the characters is no digit.
bool wordOf(std::uint64_t text, std::uint32_t& word) noexcept
{
    // The top bit of each byte tells whether the character is within a range; none is above 127.
    constexpr std::uint64_t top = inEachByte(0x80);
    const std::uint64_t lower = text | inEachByte(0x20);
    const auto within = [](std::uint64_t characters, unsigned first, unsigned last)
    { return (characters + inEachByte(0x80 - first)) & ~(characters + inEachByte(0x7F - last)) & top; };
    if ((text & top) != 0)
        return false;
    const std::uint64_t decimals = within(text, '0', '9');
    const std::uint64_t letters = within(lower, 'a', 'f');
    if ((decimals | letters) != top)
        return false;

    std::uint64_t d = (text & inEachByte(0x0F)) + (letters >> 7) * 9;
    d = (d << 4 | d >> 8) & 0x00FF00FF00FF00FFu;
    d = (d << 8 | d >> 16) & 0x0000FFFF0000FFFFu;
    word = static_cast<std::uint32_t>(d << 16 | d >> 32);
    return true;
}

// The four characters at each of two places.
std::uint64_t load(const char* first, const char* second) noexcept
{
    std::uint64_t text;
    std::memcpy(&text, first, 4);
    std::memcpy(reinterpret_cast<char*>(&text) + 4, second, 4);
    if constexpr (std::endian::native == std::endian::big)
        text = __builtin_bswap64(text);
    return text;
}

void store(std::uint64_t text, char* first, char* second) noexcept
{
    if constexpr (std::endian::native == std::endian::big)
        text = __builtin_bswap64(text);
    std::memcpy(first, &text, 4);
    std::memcpy(second, reinterpret_cast<const char*>(&text) + 4, 4);
}

UUID::Words parse(const char* text) noexcept
{
    std::uint32_t a, b, c, d;
    const bool good = text[8] == '-' && text[13] == '-' && text[18] == '-' && text[23] == '-' &&
                      wordOf(load(text, text + 4), a) && wordOf(load(text + 9, text + 14), b) &&
                      wordOf(load(text + 19, text + 24), c) && wordOf(load(text + 28, text + 32), d);
    return good ? UUID::Words{a, b, c, d} : UUID::Words{};
}

// Where a sandbox forbids to ask the kernel.
void fillWithoutKernel(UUID::Words* values, std::size_t count)
{
    for (; count != 0; --count, ++values)
    {
        uuid_t bytes;
        uuid_generate_random(bytes);
        std::memcpy(values, bytes, sizeof bytes);
    }
}

void fillRandomly(UUID::Words* values, std::size_t count)
{
    char* const begin = reinterpret_cast<char*>(values);
    const std::size_t sizeBytes = count * sizeof *values;
    for (std::size_t filled = 0; filled < sizeBytes;)
    {
        const ssize_t got = ::getrandom(begin + filled, sizeBytes - filled, 0);
        if (got > 0)
            filled += static_cast<std::size_t>(got);
        else if (errno != EINTR)
            return fillWithoutKernel(values, count);
    }
}

// As large as makes a difference, and placed as the kernel copies fastest.
struct alignas(64) Block
{
    std::array<UUID::Words, 1024> values;
};

// Random values of the kernel in stock: asking for each would cost ten times as much. A thread begins with
// one, and takes a block when it needs more. A forked child has a copy of its parent's stock and throws it away.
class Stock
{
public:
    // Not inline, so that the thread's stock is looked up once.
    [[gnu::noinline]] UUID take()
    {
        if (left_ == 0 || forkCount() != forks_) [[unlikely]]
            refill();
        UUID::Words words = values_[--left_];
        words[1] = (words[1] & 0xFFFF0FFFu) | 0x00004000u; // version 4
        words[2] = (words[2] & 0x3FFFFFFFu) | 0x80000000u; // variant of RFC 4122
        return UUID(words);
    }

    // At the end of the thread, after which values come singly.
    void loseBlock()
    {
        values_ = nullptr;
        left_ = 0;
        isOver_ = true;
    }

private:
    void refill();

    UUID::Words* values_ = nullptr;
    std::uint32_t left_ = 0;
    unsigned forks_ = 0;
    UUID::Words single_{};
    bool isOver_ = false;
};

// One for each thread, so that none waits for another. The model of its storage spares a call with each value; it
// is small enough for a library that is loaded late.
[[gnu::tls_model("initial-exec")]] constinit thread_local Stock theStock;

struct BlockOwner
{
    std::unique_ptr<Block> block{new (std::nothrow) Block};

    ~BlockOwner() { theStock.loseBlock(); }
};

void Stock::refill()
{
    Block* block = nullptr;
    if (values_ != nullptr && !isOver_)
    {
        thread_local const BlockOwner owner;
        block = owner.block.get();
    }
    values_ = block != nullptr ? block->values.data() : &single_;
    left_ = block != nullptr ? static_cast<std::uint32_t>(block->values.size()) : 1;
    forks_ = forkCount();
    fillRandomly(values_, left_);
}

} // namespace

UUID::UUID(const char* text) noexcept
{
    if (text != nullptr && std::memchr(text, 0, textLength + 1) == text + textLength)
        words_ = parse(text);
}

UUID::UUID(const wchar_t* text) noexcept
{
    if (text == nullptr)
        return;
    char narrow[textLength];
    for (unsigned i = 0; i < textLength; ++i)
    {
        if (text[i] <= 0 || text[i] > 127)
            return;
        narrow[i] = static_cast<char>(text[i]);
    }
    if (text[textLength] == 0)
        words_ = parse(narrow);
}

UUID UUID::fromText(std::string_view text) noexcept
{
    return text.size() == textLength ? UUID(parse(text.data())) : UUID();
}

UUID UUID::generate()
{
    return theStock.take();
}

void UUID::asString(char* text) const noexcept
{
    store(digitsOf(words_[0]), text, text + 4);
    store(digitsOf(words_[1]), text + 9, text + 14);
    store(digitsOf(words_[2]), text + 19, text + 24);
    store(digitsOf(words_[3]), text + 28, text + 32);
    text[8] = text[13] = text[18] = text[23] = '-';
    text[textLength] = 0;
}

void UUID::asWString(wchar_t* text) const noexcept
{
    char narrow[textLength + 1];
    asString(narrow);
    std::copy(std::begin(narrow), std::end(narrow), text);
}

} // namespace Mw
