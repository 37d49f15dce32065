#include "misc/text/JsonParser.h"

#include "Mw/Exception.h"
#include "Mw/StdAllocator.h"
#include "Mw/WordHash.h"
#include "misc/text/JsonScan.h"
#include "misc/text/JsonText.h"

#include <array>
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

// Reads what strtod would of an optional sign, digits and point, and moves behind that. Without a digit it's 0.
// What strtod reads beyond, an exponent or letters, is in no document that can be read.
double readDecimal(const char*& p, const char* end) noexcept
{
    static constexpr std::array<double, 23> powers = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                                      1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                                      1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
    constexpr std::uint64_t exactBelow = std::uint64_t(1) << 53;

    const char* const start = p;
    const bool isNegative = *p == '-';
    p += isNegative;
    std::uint64_t digits = 0;
    const auto readDigits = [&]
    {
        const char* const first = p;
        for (; p != end && isDigit(*p); ++p)
            digits = 10 * digits + static_cast<unsigned>(*p - '0');
        return static_cast<std::size_t>(p - first);
    };
    std::size_t count = readDigits();
    std::size_t decimals = 0;
    if (p != end && *p == '.')
    {
        ++p;
        decimals = readDigits();
        count += decimals;
    }
    if (count == 0)
        return 0;
    // Both are exact, and so the quotient is rounded once.
    if (count <= 19 && digits < exactBelow)
    {
        const double value = static_cast<double>(digits) / powers[decimals];
        return isNegative ? -value : value;
    }
    double value = 0;
    if (std::from_chars(start, p, value, std::chars_format::fixed).ec == std::errc::result_out_of_range)
        return outOfRange(start);
    return value;
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

} // namespace

// The reader's state while it goes through the buffer. Members of the containers that are open wait in one list
// for each kind; they are moved into their element when it is closed.
class Pass
{
public:
    Pass(Parser& parser, const char* text, std::size_t lengthBytes)
        : parser_(parser), p_(text), end_(text + lengthBytes),
          pool_(Pool::make(std::clamp<std::size_t>(lengthBytes, 256, 8192)))
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
        while (p_ != end_ && parser_.reason_ == nullptr)
            step();
        parser_.stop_ = p_;
        if (open_.size() == 1)
            finish();
        else if (parser_.reason_ == nullptr)
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
        std::array<unsigned, kindCount> starts; // where its members begin in each list
    };
    template <class T>
    using Stack = std::vector<T, StdAllocator<T>>;

    void step()
    {
        switch (*p_)
        {
        case '\t':
        case '\n':
        case '\r':
        case ' ':
            p_ = skipBlanks(p_ + 1, end_);
            break;
        case '"':
            readText();
            break;
        case ':':
            hasKey_ ? void(++p_) : fail(noName);
            break;
        case ',':
            takeMember();
            ++p_;
            break;
        case '{':
        case '[':
            openContainer();
            break;
        case '}':
        case ']':
            closeContainer();
            break;
        case 't':
            readWord("true", noTrue) ? addBool(true) : void();
            break;
        case 'f':
            readWord("false", noFalse) ? addBool(false) : void();
            break;
        case 'n':
            readNull();
            break;
        default:
            Parser::isNumericChar(*p_) ? readNumber() : failAtStrangeByte();
        }
    }

    void fail(const char* reason) noexcept { parser_.reason_ = reason; }

    void failAtStrangeByte() noexcept
    {
        const bool isBehindNumber = p_ != parser_.text_ && Parser::isNumericChar(p_[-1]);
        fail(isBehindNumber ? strangeNumber : strangeByte);
    }

    // The pending key, which is no longer pending.
    const Text* takeKey() noexcept
    {
        hasKey_ = false;
        return std::exchange(key_, nullptr);
    }

    Entry& add(Kind kind, const Text* name)
    {
        Entry& entry = members_[kind].emplace_back();
        entry.name = name;
        return entry;
    }

    // A pending key that turns out to be a member of an array.
    void takeMember()
    {
        if (hasKey_)
            add(texts, nullptr).text = takeKey();
    }

    void addBool(bool value) { add(bools, takeKey()).truth = value; }

    bool readWord(std::string_view word, const char* reason)
    {
        if (!std::string_view(p_, static_cast<std::size_t>(end_ - p_)).starts_with(word))
        {
            fail(reason);
            return false;
        }
        p_ += word.size();
        return true;
    }

    void readNull()
    {
        if (!hasKey_)
            fail(unnamedNull);
        else if (readWord("null", noNull))
            add(texts, takeKey()).text = nullptr;
    }

    void readNumber()
    {
        const double value = readDecimal(p_, end_);
        while (p_ != end_ && Parser::isNumericChar(*p_))
            ++p_;
        add(numbers, takeKey()).number = value;
    }

    // A text is the value of the pending key, or becomes that. Names come again and again, members seldom.
    void readText()
    {
        bool isAscii = true;
        const std::string_view bytes = readQuoted(isAscii);
        if (hasKey_)
        {
            add(texts, takeKey()).text = textOf(bytes, isAscii);
            return;
        }
        p_ = skipBlanksIfAny(p_);
        const bool isName = p_ != end_ && *p_ == ':';
        key_ = isName && isAscii && !bytes.empty() ? names_.textOf(*pool_, bytes) : textOf(bytes, isAscii);
        hasKey_ = true;
    }

    const char* skipBlanksIfAny(const char* p) const noexcept
    {
        return p != end_ && isBlank(*p) ? skipBlanks(p + 1, end_) : p;
    }

    // The text from the quote at the cursor on, which moves behind its end.
    std::string_view readQuoted(bool& isAscii)
    {
        const char* const begin = p_ + 1;
        p_ = findTextEnd(begin, end_, isAscii);
        std::string_view bytes(begin, static_cast<std::size_t>(p_ - begin));
        if (p_ != end_ && *p_ == '\\')
            bytes = unescape(bytes, isAscii);
        // The end of the buffer ends a text as well.
        if (p_ != end_)
            ++p_;
        return bytes;
    }

    // The text that begins with `start`, with the escape at the cursor and what follows up to its end.
    std::string_view unescape(std::string_view start, bool& isAscii)
    {
        unescaped_.assign(start);
        while (p_ != end_ && *p_ == '\\')
        {
            // A backslash at the end of the buffer has nothing to stand before.
            if (++p_ == end_)
                break;
            unescaped_.push_back(unescaped(*p_));
            isAscii = isAscii && isAsciiByte(*p_);
            const char* const rest = ++p_;
            p_ = findTextEnd(rest, end_, isAscii);
            unescaped_.append(rest, p_);
        }
        return unescaped_;
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
        ++p_;
    }

    void closeContainer()
    {
        takeMember();
        const Container closed = open_.back();
        open_.pop_back();
        if (open_.empty())
            return fail(strayClosing);
        Element* const element = makeElement(closed);
        add(children, closed.name).child = element;
        ++p_;
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
        Stack<Entry>& members = members_[kind];
        const unsigned start = container.starts[kind];
        const auto size = static_cast<unsigned>(members.size() - start);
        if (size == 0)
            return {};
        auto* const entries = static_cast<Entry*>(pool_->take(size * sizeof(Entry)));
        std::copy(members.begin() + start, members.end(), entries);
        members.resize(start);
        return {entries, size, size};
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
    const char* p_;
    const char* const end_;
    Pool* pool_; // of all that is built; only a finished tree keeps it
    int elements_ = 0;
    std::array<Stack<Entry>, kindCount> members_;
    Stack<Container> open_; // outermost first, which is the root that holds the document
    bool hasKey_ = false;
    const Text* key_ = nullptr;
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
