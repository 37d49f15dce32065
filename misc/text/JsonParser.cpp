#include "misc/text/JsonParser.h"

#include "Mw/Exception.h"
#include "Mw/StdAllocator.h"
#include "Mw/WordHash.h"
#include "misc/text/JsonScan.h"
#include "misc/text/JsonText.h"

#include <array>
#include <bit>
#include <charconv>
#include <limits>
#include <string>

namespace JSON
{

namespace
{

constexpr char emptyDocument[] = "there is nothing to read";
constexpr char noName[] = "a colon without a name before it";
constexpr char strayClosing[] = "a closing bracket without an opening one";
constexpr char noTrue[] = "a word that begins like true but is none";
constexpr char noFalse[] = "a word that begins like false but is none";
constexpr char noNull[] = "a word that begins like null but is none";
constexpr char unnamedNull[] = "null without a name before it";
constexpr char strangeByte[] = "a character that begins no value";
constexpr char strangeNumber[] = "a number with an exponent or letters in it";
constexpr char notClosed[] = "the text ends before every bracket is closed";
constexpr char noContainer[] = "the text holds no object or array";
constexpr char outOfMemory[] = "there is not enough memory for it";

bool isDigit(char c) noexcept
{
    return c >= '0' && c <= '9';
}

char unescaped(char c) noexcept
{
    switch (c)
    {
    case 'b':
        return '\b';
    case 'f':
        return '\f';
    case 'n':
        return '\n';
    case 'r':
        return '\r';
    case 't':
        return '\t';
    default:
        return c;
    }
}

// A number in decimal notation that is too large or too small for the processor: infinite or 0.
double outOfRange(const char* p) noexcept
{
    const double sign = *p == '-' ? -1 : 1;
    for (p += *p == '-'; *p == '0';)
        ++p;
    return isDigit(*p) ? sign * std::numeric_limits<double>::infinity() : sign * 0.0;
}

constexpr std::ptrdiff_t mostDigits = 19; // so many fit in 64 bits
template <class Number>
constexpr std::array<Number, mostDigits + 1> tenTo = []
{
    std::array<Number, mostDigits + 1> powers{1};
    for (std::size_t i = 1; i < powers.size(); ++i)
        powers[i] = 10 * powers[i - 1];
    return powers;
}();

// The number of eight digits, of which the first is in the lowest byte, as 0 to 9.
std::uint64_t numberOfEight(std::uint64_t digits) noexcept
{
    constexpr std::uint64_t everySecondPair = 0x000000FF000000FF;
    digits = 10 * digits + (digits >> 8);
    return ((digits & everySecondPair) * (100 + (1000000ull << 32)) +
            (digits >> 16 & everySecondPair) * (1 + (10000ull << 32))) >>
           32;
}

// Reads digits on to a number, and gives where they end. Eight at a time: how many there are differs from number to
// number, and a loop over them would mostly be left where the processor doesn't expect it.
const char* readDigits(const char* p, const char* end, std::uint64_t& number) noexcept
{
    if constexpr (std::endian::native == std::endian::little)
        while (end - p >= 8)
        {
            constexpr std::uint64_t each = 0x0101010101010101;
            const std::uint64_t digits = Mw::words::load<std::uint64_t>(p) ^ '0' * each;
            const std::uint64_t others = (((digits & 0x7F * each) + (0x80 - 10) * each) | digits) & 0x80 * each;
            const int count = std::countr_zero(others) / 8;
            if (count == 0)
                return p;
            // Those behind the last digit fall off, and zeros stand before the first.
            number = number * tenTo<std::uint64_t>[static_cast<std::size_t>(count)] +
                     numberOfEight(digits << (64 - 8 * count));
            p += count;
            if (count != 8)
                return p;
        }
    for (; p != end && isDigit(*p); ++p)
        number = 10 * number + static_cast<unsigned>(*p - '0');
    return p;
}

// Reads what strtod would of an optional sign, digits and point, and gives where that ends. Without a digit it's 0.
// What strtod reads beyond, an exponent or letters, is in no document that can be read.
const char* readDecimal(const char* const start, const char* end, double& value) noexcept
{
    constexpr std::uint64_t exactBelow = std::uint64_t(1) << 53;

    const bool isNegative = *start == '-';
    const char* const whole = start + isNegative;
    std::uint64_t digits = 0;
    const char* p = readDigits(whole, end, digits);
    std::ptrdiff_t count = p - whole;
    std::ptrdiff_t decimals = 0;
    if (p != end && *p == '.')
    {
        const char* const fraction = p + 1;
        p = readDigits(fraction, end, digits);
        decimals = p - fraction;
        count += decimals;
    }
    if (count <= mostDigits && digits < exactBelow) [[likely]]
    {
        // Both are exact, and so the quotient is rounded once.
        const double size =
            static_cast<double>(static_cast<std::int64_t>(digits)) / tenTo<double>[static_cast<std::size_t>(decimals)];
        value = isNegative && count != 0 ? -size : size;
    }
    else if (std::from_chars(start, p, value, std::chars_format::fixed).ec == std::errc::result_out_of_range)
        value = outOfRange(start);
    return p;
}

// The names that came lately, so that equal ones share their text. A name that isn't found costs memory and no more.
class Names
{
public:
    const Text* textOf(Pool& pool, std::string_view bytes)
    {
        const Text*& known = lately_[Mw::words::hashOf(bytes) % lately_.size()];
        if (!isSame(known, bytes))
            known = textOfAscii(pool, bytes);
        return known;
    }

private:
    std::array<const Text*, 512> lately_{};
};

// The members of one kind of all containers that are open, in a block that may become part of the pool.
class Members
{
public:
    Members() noexcept = default;
    ~Members() { OS().allocator().release(block_); }
    Members(const Members&) = delete;
    Members& operator=(const Members&) = delete;

    std::size_t size() const noexcept { return size_; }

    Entry& add(const Text* name)
    {
        if (size_ == capacity_) [[unlikely]]
            grow();
        Entry& entry = entries()[size_++];
        entry.name = name;
        return entry;
    }

    // Moves those from `start` on to the pool.
    Entry* take(std::size_t start, Pool& pool)
    {
        constexpr std::size_t worthTheBlock = 1024;
        const std::size_t taken = size_ - start;
        if (start == 0 && taken >= worthTheBlock)
            return giveBlock(pool);
        auto* const moved = static_cast<Entry*>(pool.take(taken * sizeof(Entry)));
        std::copy(entries() + start, entries() + size_, moved);
        size_ = start;
        return moved;
    }

private:
    Entry* entries() const noexcept { return reinterpret_cast<Entry*>(static_cast<Pool::Block*>(block_) + 1); }

    void resize(std::size_t capacity)
    {
        block_ = OS().allocator().reallocate(block_, sizeof(Pool::Block) + capacity * sizeof(Entry));
        capacity_ = capacity;
    }

    [[gnu::noinline]] void grow() { resize(capacity_ == 0 ? 64 : 2 * capacity_); }

    Entry* giveBlock(Pool& pool)
    {
        resize(size_);
        Entry* const given = entries();
        pool.adopt(std::exchange(block_, nullptr));
        size_ = capacity_ = 0;
        return given;
    }

    void* block_ = nullptr;
    std::size_t size_ = 0;
    std::size_t capacity_ = 0;
};

} // namespace

// The reader's state while it goes through the buffer. Members of the containers that are open wait in one list
// for each kind; they are moved into their element when it is closed.
//
// The cursor is handed from one operation to the next, each of which gives it back behind what it read, or where it
// raised the flag.
class Pass
{
public:
    Pass(Parser& parser, const char* text, std::size_t lengthBytes)
        : parser_(parser), end_(text + lengthBytes),
          pool_(Pool::make(std::clamp(lengthBytes, smallestPoolBytes, largestPoolBytes)))
    {
    }
    ~Pass()
    {
        if (pool_ != nullptr)
            pool_->release();
    }
    Pass(const Pass&) = delete;
    Pass& operator=(const Pass&) = delete;

    void run()
    {
        open_.push_back({});
        const char* p = parser_.text_;
        while (p != end_ && !parser_.failed())
            p = step(p);
        parser_.stop_ = p;
        if (open_.size() == 1)
            finish();
        else if (!parser_.failed())
            fail(notClosed);
    }

private:
    enum Kind
    {
        texts,
        numbers,
        bools,
        children,
        kindCount
    };
    struct Container
    {
        const Text* name;
        std::array<unsigned, kindCount> starts; // where its members begin among those of each kind
    };

    // Where the pool begins.
    static constexpr std::size_t smallestPoolBytes = 256;
    static constexpr std::size_t largestPoolBytes = 8192;

    const char* step(const char* p)
    {
        switch (*p)
        {
        case '\t':
        case '\n':
        case '\r':
        case ' ':
            return skipBlanks(p + 1, end_);
        case '"':
            return readText(p + 1);
        case ':':
            return hasKey_ ? p + 1 : fail(noName, p);
        case ',':
            takeMember();
            return p + 1;
        case '{':
        case '[':
            openContainer();
            return p + 1;
        case '}':
        case ']':
            return closeContainer() ? p + 1 : fail(strayClosing, p);
        case 't':
            return readBool(p, "true", true, noTrue);
        case 'f':
            return readBool(p, "false", false, noFalse);
        case 'n':
            return readNull(p);
        default:
            return Parser::isNumericChar(*p) ? readNumbers(p) : failAtStrangeByte(p);
        }
    }

    const char* fail(const char* reason, const char* p = nullptr) noexcept
    {
        parser_.reason_ = reason;
        return p;
    }

    const char* failAtStrangeByte(const char* p) noexcept
    {
        const bool isBehindNumber = p != parser_.text_ && Parser::isNumericChar(p[-1]);
        return fail(isBehindNumber ? strangeNumber : strangeByte, p);
    }

    // The pending key, which is no longer pending.
    const Text* takeKey() noexcept
    {
        hasKey_ = false;
        return std::exchange(key_, nullptr);
    }

    // A pending key that turns out to be a member of an array.
    void takeMember()
    {
        if (hasKey_)
            members_[texts].add(nullptr).text = takeKey();
    }

    // The comma behind a value and the blanks behind that, which are most of what follows values.
    const char* behindValue(const char* p) const noexcept
    {
        if (p == end_ || *p != ',')
            return p;
        return skipBlanksIfAny(p + 1);
    }

    // None or one is most common.
    const char* skipBlanksIfAny(const char* p) const noexcept
    {
        if (p == end_ || !isBlank(*p) || ++p == end_ || !isBlank(*p))
            return p;
        return skipBlanks(p + 1, end_);
    }

    bool isWord(const char* p, std::string_view word) const noexcept
    {
        return static_cast<std::size_t>(end_ - p) >= word.size() && std::memcmp(p, word.data(), word.size()) == 0;
    }

    const char* readBool(const char* p, std::string_view word, bool value, const char* reason)
    {
        if (!isWord(p, word))
            return fail(reason, p);
        members_[bools].add(takeKey()).truth = value;
        return behindValue(p + word.size());
    }

    const char* readNull(const char* p)
    {
        if (!hasKey_)
            return fail(unnamedNull, p);
        if (!isWord(p, "null"))
            return fail(noNull, p);
        members_[texts].add(takeKey()).text = nullptr;
        return behindValue(p + 4);
    }

    // A number, and those that follow in an array.
    const char* readNumbers(const char* p)
    {
        do
        {
            double value = 0;
            p = readDecimal(p, end_, value);
            while (p != end_ && Parser::isNumericChar(*p))
                ++p;
            members_[numbers].add(takeKey()).number = value;
            p = behindValue(p);
        } while (p != end_ && Parser::isNumericChar(*p));
        return p;
    }

    // A text, from behind its quote: it is the value of the pending key, or becomes that. Names come again and again,
    // members seldom.
    const char* readText(const char* p)
    {
        bool isAscii = true;
        const char* const textEnd = findTextEnd(p, end_, isAscii);
        std::string_view bytes(p, static_cast<std::size_t>(textEnd - p));
        p = textEnd;
        if (p != end_ && *p == '\\') [[unlikely]]
            p = readEscapes(p, bytes, isAscii);
        // The end of the buffer ends a text as well.
        if (p != end_)
            ++p;
        if (hasKey_)
        {
            const Text* const value = textOf(bytes, isAscii);
            members_[texts].add(takeKey()).text = value;
            return behindValue(p);
        }
        p = skipBlanksIfAny(p);
        const bool isName = p != end_ && *p == ':';
        key_ = isName && isAscii && !bytes.empty() ? names_.textOf(*pool_, bytes) : textOf(bytes, isAscii);
        hasKey_ = true;
        return isName ? skipBlanksIfAny(p + 1) : p;
    }

    // From a backslash in a text on, of which `bytes` is the start and becomes the whole.
    const char* readEscapes(const char* p, std::string_view& bytes, bool& isAscii)
    {
        unescaped_.assign(bytes);
        while (p != end_ && *p == '\\')
        {
            // A backslash at the end of the buffer has nothing to stand before.
            if (++p == end_)
                break;
            unescaped_.push_back(unescaped(*p));
            isAscii = isAscii && isAsciiByte(*p);
            const char* const rest = ++p;
            p = findTextEnd(rest, end_, isAscii);
            unescaped_.append(rest, p);
        }
        bytes = unescaped_;
        return p;
    }

    const Text* textOf(std::string_view bytes, bool isAscii)
    {
        if (isAscii)
            return textOfAscii(*pool_, bytes);
        return JSON::textOf(*pool_, Mw::wideFromUtf8(bytes.data(), bytes.size()));
    }

    void openContainer()
    {
        Container opened{takeKey(), {}};
        for (std::size_t kind = 0; kind < kindCount; ++kind)
            opened.starts[kind] = static_cast<unsigned>(members_[kind].size());
        open_.push_back(opened);
    }

    // False if there is none but the root.
    bool closeContainer()
    {
        takeMember();
        const Container closed = open_.back();
        open_.pop_back();
        if (open_.empty())
            return false;
        Element* const element = makeElement(closed);
        members_[children].add(closed.name).child = element;
        return true;
    }

    // An element with the members of the container, held once.
    Element* makeElement(const Container& container)
    {
        Element* const element = ::new (pool_->take(sizeof(Element))) Element(*pool_);
        *Mw::InternalRefCountTraits::countFor(element) = 1;
        ++elements_;
        element->texts_ = takeList(texts, container);
        element->numbers_ = takeList(numbers, container);
        element->bools_ = takeList(bools, container);
        element->children_ = takeList(children, container);
        return element;
    }

    Element::List takeList(Kind kind, const Container& container)
    {
        const unsigned start = container.starts[kind];
        const auto size = static_cast<unsigned>(members_[kind].size() - start);
        if (size == 0)
            return {};
        return {members_[kind].take(start, *pool_), size, size};
    }

    // Hands out the first child of the root; the root and what else it has go.
    void finish()
    {
        Element* const root = makeElement(open_.back());
        pool_->setReferences(elements_);
        pool_ = nullptr;
        parser_.result_ = root->getChild(0);
        delete root;
    }

    Parser& parser_;
    const char* const end_;
    Pool* pool_; // of all that is built; only a finished tree keeps it
    int elements_ = 0;
    bool hasKey_ = false;
    const Text* key_ = nullptr;
    std::array<Members, kindCount> members_;
    std::vector<Container, StdAllocator<Container>> open_; // outermost first, which is the root that holds the document
    Names names_;
    std::basic_string<char, std::char_traits<char>, StdAllocator<char>> unescaped_;
};

Parser::Parser(const char* text, unsigned int length) noexcept : text_(text), stop_(text)
{
    if (length == 0)
    {
        reason_ = emptyDocument;
        return;
    }
    try
    {
        Pass(*this, text, length).run();
    }
    catch (const Mw::Exception::BadAlloc&)
    {
        reason_ = outOfMemory;
    }
    catch (const std::exception&)
    {
        reason_ = outOfMemory;
    }
}

Failure Parser::failure() const
{
    const char* reason = reason_;
    if (reason == nullptr && !result_)
        reason = noContainer;
    if (reason == nullptr)
        return {};
    const std::string_view read(text_, static_cast<std::size_t>(stop_ - text_));
    const auto lineFeeds = static_cast<unsigned>(std::count(read.begin(), read.end(), '\n'));
    const std::string_view line = read.substr(read.rfind('\n') + 1);
    // Each character has one byte that doesn't continue another.
    const auto characters = static_cast<unsigned>(
        std::count_if(line.begin(), line.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
    return {lineFeeds + 1, characters + 1, reason};
}

} // namespace JSON
