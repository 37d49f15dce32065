#pragma once

#include "Mw/CText.h"
#include "Mw/Ptr.h"
#include "Mw/StdAllocator.h"
#include "OS/TextBlocks.h"

#include <bit>
#include <compare>
#include <concepts>
#include <cstddef>
#include <functional>
#include <iosfwd>
#include <string_view>
#include <vector>

// The string of the whole library: a counted, copy-on-write handle of two words, so that a copy costs one
// test and one atomic increment. `char` carries UTF-8 and ASCII keys; `wchar_t` carries code points, and is
// the form of paths and display texts.
//
// The empty string is a null handle: it has no block and calls nothing. Every other one holds a block of
// the allocator, taken by way of TextBlocks, with its header and its text. The characters may change in
// place only while one handle holds the block; whoever changes a shared text gets a block of its own first.
//
// A block that is made has room for the smallest power of two above the length (1 gives 2, 2 and 3 give 4,
// 40 gives 64), so repeated appending is amortised. The text "clip9" in 24 + 8 = 32 bytes:
//
//     offset  size
//          0     8  data_      address of offset 24
//          8     4  length_    05 00 00 00
//         12     4  capacity_  08 00 00 00   characters, the terminator included
//         16     4  refCount_  01 00 00 00
//         20     4  -
//         24     8  characters 63 6c 69 70 39 00 .. ..
//
// Comparison and hash cover the text up to its first zero; length, iteration and std::string_view cover
// the whole. Positions and counts are 32 bits; a count of `npos`, or one that overruns, means to the end.
// A text of 0xFFFFFFFF characters or more throws Mw::Exception::BadAlloc.
//
// Threads: each thread may hold and change its own handle to one text. One handle is not to be changed
// by one thread while another uses it.
template <class C>
class OS_API LightweightString
{
public:
    using value_type = C;
    using size_type = unsigned;
    using const_iterator = const C*;
    using iterator = const_iterator;
    using View = std::basic_string_view<C>;

    static constexpr unsigned npos = 0xFFFFFFFFu;

    // Header of a block. The characters lie straight after it and are always terminated.
    struct Impl
    {
        struct DtorTraits
        {
            static void destroy(Impl* impl) noexcept
            {
                TextBlocks::give(impl, std::size_t(impl->capacity_) * sizeof(C));
            }
        };

        // Where data_ points, without a load.
        C* characters() noexcept { return reinterpret_cast<C*>(this + 1); }
        const C* characters() const noexcept { return reinterpret_cast<const C*>(this + 1); }

        C* data_;
        unsigned length_;
        unsigned capacity_;
        int refCount_;
    };
    using ImplPtr = Mw::Ptr<Impl, typename Impl::DtorTraits, Mw::InternalRefCountTraits>;

    // What s[i] of a string that may change gives: reads as the character; assigning unshares the text
    // first, unless the character is there already.
    class StringChar
    {
    public:
        StringChar(LightweightString* string, unsigned index) noexcept : string_(string), index_(index) {}
        StringChar(const StringChar&) = default;

        operator C() const noexcept { return string_->c_str()[index_]; }
        inline StringChar& operator=(C c);
        StringChar& operator=(const StringChar& other) { return *this = static_cast<C>(other); }

    private:
        LightweightString* string_;
        unsigned index_;
    };

    LightweightString() noexcept = default;
    LightweightString(const C* text) : LightweightString(View(text != nullptr ? text : terminator)) {}
    LightweightString(const C* text, unsigned length) : LightweightString(View(text, text != nullptr ? length : 0)) {}
    inline LightweightString(View text);
    LightweightString(unsigned count, C c);
    explicit LightweightString(ImplPtr impl) noexcept : impl_(std::move(impl)) {}

    inline LightweightString& operator=(const C* text);
    inline LightweightString& operator=(View text);

    // Never null: an empty string gives an empty text.
    const C* c_str() const noexcept { return impl_ ? impl_->characters() : terminator; }
    const C* data() const noexcept { return c_str(); }
    unsigned length() const noexcept { return impl_ ? impl_->length_ : 0; }
    unsigned size() const noexcept { return length(); }
    bool empty() const noexcept { return length() == 0; }
    unsigned capacity() const noexcept { return impl_ ? impl_->capacity_ : 0; }
    operator View() const noexcept { return View(c_str(), length()); }

    const_iterator begin() const noexcept { return c_str(); }
    const_iterator end() const noexcept { return c_str() + length(); }
    C front() const noexcept { return c_str()[0]; }
    C back() const noexcept { return c_str()[length() - 1]; }

    // `index` is at most the length, where the terminator reads as zero; only places below are written.
    C operator[](unsigned index) const noexcept { return c_str()[index]; }
    StringChar operator[](unsigned index) noexcept { return StringChar(this, index); }

    // Whether this handle alone holds its block, and so may change it in place. False for empty.
    bool isSoleOwner() const noexcept { return impl_ && OS().atomics().load(&impl_->refCount_) == 1; }

    // Makes this handle the sole owner of the same text. An empty string stays empty.
    inline void unshare();

    // The characters for writing, [0, length()), after unshare(); null for an empty string.
    inline C* writable();

    void clear() noexcept { impl_.reset(); }
    void swap(LightweightString& other) noexcept { impl_.swap(other.impl_); }

    // A block of its own for `length` characters, which are uninitialised but for the terminator, held by
    // the handle that is given; with `roundUp` it has room for a power of two, else exactly for the text.
    // A length of 0 gives null.
    static ImplPtr createImpl(unsigned length, bool roundUp);

    // A string of `length` characters for the caller to fill. Does not keep the text: it stays where it
    // is only if this handle is the sole owner of a block with more room than `length`.
    void resizeFor(unsigned length);

    // Keeps the first characters; new ones are zero.
    void resize(unsigned length);

    // Takes `length` characters. Only here a zero inside the source ends the copy: the rest is zeros up to
    // the length. The source may be part of this text. Null or a length of 0 gives the empty string.
    void assign(const C* text) { *this = text; }
    void assign(const C* text, unsigned length);

    // To an empty string this is `assign`. The source may be part of this text. Null adds nothing.
    [[gnu::always_inline]] inline void append(const C* text, unsigned length);
    [[gnu::always_inline]] inline void push_back(C c);
    inline LightweightString& operator+=(const LightweightString& text);
    inline LightweightString& operator+=(const C* text);
    inline LightweightString& operator+=(View text);
    // A character and no other integer, which would be meant as a number.
    template <class Char>
    requires std::same_as<Char, C> LightweightString& operator+=(Char c)
    {
        push_back(c);
        return *this;
    }

    // A new string of both parts; null with a length counts as not there.
    static LightweightString join(const C* first, unsigned firstLength, const C* second, unsigned secondLength);
    inline LightweightString operator+(const LightweightString& text) const;
    inline LightweightString operator+(const C* text) const;
    inline LightweightString operator+(View text) const;
    template <class Char>
    requires std::same_as<Char, C> LightweightString operator+(Char c) const { return join(c_str(), length(), &c, 1); }

    // Empty if `start` is at or past the end.
    inline LightweightString substr(unsigned start, unsigned count = npos) const;

    // A `start` at or past the end changes nothing.
    void erase(unsigned start, unsigned count = npos);
    void replace(unsigned start, unsigned count, const LightweightString& text);
    void replace(unsigned start, unsigned count, const C* text, unsigned length);

    // A string with every `from` replaced; what was put in is not searched again. Nothing to replace
    // gives a shared copy. A null or empty `from` replaces nothing; a null `to` is empty.
    LightweightString substitute(const C* from, const C* to) const;
    LightweightString substitute(const LightweightString& from, const LightweightString& to) const;

    // The first place at or after `start`, the last place for rfind, or npos. A text is searched for
    // before the first zero.
    inline unsigned find(const C* text, unsigned start = 0) const noexcept;
    inline unsigned find(const LightweightString& text, unsigned start = 0) const noexcept;
    inline unsigned find(C c, unsigned start = 0) const noexcept;
    inline unsigned rfind(C c) const noexcept;

    // False for a null `text` and for an empty string. Case is that of the letters A to Z.
    bool startsWith(const C* text, bool caseSensitive = true) const noexcept;
    bool endsWith(const C* text, bool caseSensitive = true) const noexcept;

    // Three-way; null and empty are the same value.
    static inline int compare(const C* a, const C* b) noexcept;

    [[gnu::always_inline]] friend bool operator==(const LightweightString& a, const LightweightString& b) noexcept
    {
        const Impl* const first = a.impl_.get();
        const Impl* const second = b.impl_.get();
        if (first == second)
            return true;
        if (first == nullptr || second == nullptr) [[unlikely]]
            return a.c_str()[0] == b.c_str()[0];
        // Texts of one length that agree in whole need no search for their first zeros.
        if (first->length_ == second->length_ &&
            Mw::CText::same(first->characters(), second->characters(), first->length_)) [[likely]]
            return true;
        return sameText(*first, *second);
    }
    friend bool operator==(const LightweightString& a, const C* b) noexcept
    {
        return order(a.c_str(), b != nullptr ? b : terminator) == 0;
    }
    friend bool operator==(const LightweightString& a, View b) noexcept { return a.text() == textOf(b); }
    [[gnu::always_inline]] friend std::strong_ordering operator<=>(const LightweightString& a,
                                                                   const LightweightString& b) noexcept
    {
        const Impl* const first = a.impl_.get();
        const Impl* const second = b.impl_.get();
        if (first == second)
            return std::strong_ordering::equal;
        if (first == nullptr || second == nullptr) [[unlikely]]
            return order(a.c_str(), b.c_str());
        return order(*first, *second);
    }
    friend std::strong_ordering operator<=>(const LightweightString& a, const C* b) noexcept
    {
        return order(a.c_str(), b != nullptr ? b : terminator);
    }
    friend std::strong_ordering operator<=>(const LightweightString& a, View b) noexcept
    {
        return a.text() <=> textOf(b);
    }
    friend void swap(LightweightString& a, LightweightString& b) noexcept { a.swap(b); }

    // The text up to its first zero: what comparison and hash cover.
    View text() const noexcept { return textOf(*this); }

private:
    using Traits = std::char_traits<C>;

    // What a null handle reads as: a zero, which lives in the library.
    static const C terminator[];
    static constexpr unsigned maxLength = 0xFFFFFFFEu;

    static View textOf(View text) noexcept { return text.substr(0, Mw::CText::lengthWithin(text.data(), text.size())); }
    static std::strong_ordering order(const C* a, const C* b) noexcept
    {
        return a == b ? std::strong_ordering::equal : Mw::CText::compare(a, b) <=> 0;
    }
    [[gnu::always_inline]] static std::strong_ordering order(const Impl& a, const Impl& b) noexcept
    {
        // All blocks but the shortest and those of an exact length have room for whole sixteens of bytes.
        if ((a.capacity_ | b.capacity_) % Mw::sixteen::charactersOf<C> == 0) [[likely]]
            return Mw::CText::compareBySixteens(a.characters(), b.characters()) <=> 0;
        return Mw::CText::compare(a.characters(), b.characters()) <=> 0;
    }
    [[gnu::pure]] static bool sameText(const Impl& a, const Impl& b) noexcept;

    static inline unsigned checkedLength(std::size_t length);
    static inline ImplPtr newImpl(unsigned length, unsigned capacity);
    static inline ImplPtr newImpl(unsigned length);
    inline unsigned clipped(unsigned start, unsigned count) const noexcept;
    [[gnu::always_inline]] inline Impl* blockWithRoomFor(std::size_t length) const noexcept;
    [[gnu::always_inline]] inline static void setLength(Impl* block, unsigned length) noexcept;
    void setText(const C* text, std::size_t length, std::size_t zeros = 0);
    void truncate(unsigned length);
    void appendSlowly(const C* text, std::size_t length);
    void pushBackSlowly(C c) { appendSlowly(&c, 1); }
    LightweightString substituteIn(const C* from, std::size_t fromLength, View to) const;

    ImplPtr impl_;
};

static_assert(sizeof(LightweightString<char>) == 2 * sizeof(void*));
static_assert(sizeof(LightweightString<char>::Impl) == 24 && sizeof(LightweightString<wchar_t>::Impl) == 24);

namespace Mw::detail
{
[[noreturn]] OS_API void throwStringTooLong();
}

template <class C>
struct std::hash<LightweightString<C>>
{
    std::size_t operator()(const LightweightString<C>& s) const noexcept
    {
        return std::hash<std::basic_string_view<C>>()(s.text());
    }
};

template <class C>
std::basic_ostream<C>& operator<<(std::basic_ostream<C>& out, const LightweightString<C>& s)
{
    return out << std::basic_string_view<C>(s);
}

// What every copy, construction and append runs through is inline; the rest lives in the library.

template <class C>
inline unsigned LightweightString<C>::checkedLength(std::size_t length)
{
    if (length > maxLength) [[unlikely]]
        Mw::detail::throwStringTooLong();
    return static_cast<unsigned>(length);
}

template <class C>
inline typename LightweightString<C>::ImplPtr LightweightString<C>::newImpl(unsigned length, unsigned capacity)
{
    void* const block = TextBlocks::take(std::size_t(capacity) * sizeof(C));
    C* const characters = reinterpret_cast<C*>(static_cast<char*>(block) + sizeof(Impl));
    characters[length] = C();
    return ImplPtr::fromCounted(new (block) Impl{characters, length, capacity, 1});
}

template <class C>
inline typename LightweightString<C>::ImplPtr LightweightString<C>::newImpl(unsigned length)
{
    // The power of two above the longest texts doesn't fit in the field, which then holds its maximum.
    return newImpl(length, length < 0x80000000u ? std::bit_ceil(length + 1) : 0xFFFFFFFFu);
}

template <class C>
inline LightweightString<C>::LightweightString(View text)
    : impl_(text.empty() ? ImplPtr() : newImpl(checkedLength(text.size())))
{
    if (impl_)
        Mw::CText::move(impl_->characters(), text.data(), text.size());
}

template <class C>
inline LightweightString<C>& LightweightString<C>::operator=(const C* text)
{
    setText(text, text != nullptr ? Traits::length(text) : 0);
    return *this;
}

template <class C>
inline LightweightString<C>& LightweightString<C>::operator=(View text)
{
    setText(text.data(), text.size());
    return *this;
}

// The block, if this handle may write `length` characters into it, or null. The block is asked for its
// count itself, and held in a local by those who write: a store of characters could else be one to the
// handle, for all that the compiler knows.
template <class C>
inline typename LightweightString<C>::Impl* LightweightString<C>::blockWithRoomFor(std::size_t length) const noexcept
{
    Impl* const block = impl_.get();
    const bool hasRoom = block != nullptr && length < block->capacity_ && OS().atomics().load(&block->refCount_) == 1;
    return hasRoom ? block : nullptr;
}

template <class C>
inline void LightweightString<C>::setLength(Impl* block, unsigned length) noexcept
{
    block->characters()[length] = C();
    block->length_ = length;
}

template <class C>
inline void LightweightString<C>::append(const C* text, unsigned length)
{
    if (length == 0 || text == nullptr)
        return;
    const std::size_t oldLength = this->length();
    Impl* const block = blockWithRoomFor(oldLength + length);
    if (block == nullptr)
        return appendSlowly(text, length);
    Mw::CText::move(block->characters() + oldLength, text, length);
    setLength(block, static_cast<unsigned>(oldLength + length));
}

template <class C>
inline void LightweightString<C>::push_back(C c)
{
    const unsigned oldLength = length();
    Impl* const block = blockWithRoomFor(std::size_t(oldLength) + 1);
    if (block == nullptr)
        return pushBackSlowly(c);
    C* const end = block->characters() + oldLength;
    end[0] = c;
    end[1] = C();
    block->length_ = oldLength + 1;
}

template <class C>
inline LightweightString<C>& LightweightString<C>::operator+=(const LightweightString& text)
{
    append(text.c_str(), text.length());
    return *this;
}

template <class C>
inline LightweightString<C>& LightweightString<C>::operator+=(const C* text)
{
    if (text != nullptr)
        append(text, checkedLength(Traits::length(text)));
    return *this;
}

template <class C>
inline LightweightString<C>& LightweightString<C>::operator+=(View text)
{
    append(text.data(), checkedLength(text.size()));
    return *this;
}

template <class C>
inline LightweightString<C> LightweightString<C>::operator+(const LightweightString& text) const
{
    return join(c_str(), length(), text.c_str(), text.length());
}

template <class C>
inline LightweightString<C> LightweightString<C>::operator+(const C* text) const
{
    return *this + View(text != nullptr ? text : terminator);
}

template <class C>
inline LightweightString<C> LightweightString<C>::operator+(View text) const
{
    return join(c_str(), length(), text.data(), checkedLength(text.size()));
}

template <class C>
inline C* LightweightString<C>::writable()
{
    if (!impl_)
        return nullptr;
    unshare();
    return impl_->characters();
}

template <class C>
inline void LightweightString<C>::unshare()
{
    if (impl_ && !isSoleOwner())
        *this = LightweightString(View(*this));
}

template <class C>
inline typename LightweightString<C>::StringChar& LightweightString<C>::StringChar::operator=(C c)
{
    if (static_cast<C>(*this) != c)
        string_->writable()[index_] = c;
    return *this;
}

template <class C>
inline unsigned LightweightString<C>::clipped(unsigned start, unsigned count) const noexcept
{
    const unsigned rest = length() - start;
    return count < rest ? count : rest;
}

template <class C>
inline LightweightString<C> LightweightString<C>::substr(unsigned start, unsigned count) const
{
    if (start >= length())
        return LightweightString();
    const unsigned taken = clipped(start, count);
    return taken == length() ? *this : LightweightString(View(c_str() + start, taken));
}

template <class C>
inline unsigned LightweightString<C>::find(const C* text, unsigned start) const noexcept
{
    if (text == nullptr || start > length())
        return npos;
    const C* const found = Mw::CText::find(c_str() + start, text);
    return found != nullptr ? static_cast<unsigned>(found - c_str()) : npos;
}

template <class C>
inline unsigned LightweightString<C>::find(const LightweightString& text, unsigned start) const noexcept
{
    return find(text.c_str(), start);
}

template <class C>
inline unsigned LightweightString<C>::find(C c, unsigned start) const noexcept
{
    if (start >= length())
        return npos;
    const C* const found = Traits::find(c_str() + start, length() - start, c);
    return found != nullptr ? static_cast<unsigned>(found - c_str()) : npos;
}

template <class C>
inline unsigned LightweightString<C>::rfind(C c) const noexcept
{
    const std::size_t found = View(*this).rfind(c);
    return found != View::npos ? static_cast<unsigned>(found) : npos;
}

template <class C>
inline int LightweightString<C>::compare(const C* a, const C* b) noexcept
{
    if (a == b)
        return 0;
    const bool aIsEmpty = a == nullptr || *a == C();
    const bool bIsEmpty = b == nullptr || *b == C();
    if (a != nullptr && b != nullptr)
        return Mw::CText::compare(a, b);
    return static_cast<int>(bIsEmpty) - static_cast<int>(aIsEmpty);
}

template <class C>
LightweightString<C>::LightweightString(unsigned count, C c)
{
    if (count == 0)
        return;
    impl_ = newImpl(checkedLength(count));
    Traits::assign(impl_->characters(), count, c);
}

template <class C>
typename LightweightString<C>::ImplPtr LightweightString<C>::createImpl(unsigned length, bool roundUp)
{
    if (length == 0)
        return nullptr;
    checkedLength(length);
    return roundUp ? newImpl(length) : newImpl(length, length + 1);
}

template <class C>
void LightweightString<C>::resizeFor(unsigned length)
{
    if (length == 0)
        clear();
    else if (Impl* const block = blockWithRoomFor(length))
        setLength(block, length);
    else
        impl_ = newImpl(checkedLength(length));
}

template <class C>
void LightweightString<C>::resize(unsigned length)
{
    const unsigned oldLength = this->length();
    if (length <= oldLength)
        return truncate(length);
    if (blockWithRoomFor(length) == nullptr)
    {
        ImplPtr longer = newImpl(checkedLength(length));
        Traits::copy(longer->characters(), c_str(), oldLength);
        impl_ = std::move(longer);
    }
    Traits::assign(impl_->characters() + oldLength, length - oldLength, C());
    setLength(impl_.get(), length);
}

template <class C>
void LightweightString<C>::truncate(unsigned length)
{
    if (length == this->length())
        return;
    if (Impl* const block = blockWithRoomFor(length); block != nullptr && length != 0)
        setLength(block, length);
    else
        *this = LightweightString(c_str(), length);
}

template <class C>
void LightweightString<C>::assign(const C* text, unsigned length)
{
    const std::size_t copied = text != nullptr ? Mw::CText::lengthWithin(text, length) : 0;
    setText(text, copied, text != nullptr ? length - copied : 0);
}

// `length` characters of `text`, which may be part of this one, then zeros.
template <class C>
void LightweightString<C>::setText(const C* text, std::size_t length, std::size_t zeros)
{
    const unsigned newLength = checkedLength(length + zeros);
    if (newLength == 0)
        return clear();
    // The old block is held until the text is copied: `text` may point into it.
    ImplPtr old;
    if (blockWithRoomFor(newLength) == nullptr)
    {
        old = newImpl(newLength);
        old.swap(impl_);
    }
    Traits::move(impl_->characters(), text, length);
    Traits::assign(impl_->characters() + length, zeros, C());
    setLength(impl_.get(), newLength);
}

template <class C>
void LightweightString<C>::appendSlowly(const C* text, std::size_t length)
{
    if (empty())
        return assign(text, checkedLength(length));
    // The old block is held until its text is copied: `text` may point into it.
    const std::size_t oldLength = this->length();
    ImplPtr longer = newImpl(checkedLength(oldLength + length));
    Traits::copy(longer->characters(), impl_->characters(), oldLength);
    Traits::copy(longer->characters() + oldLength, text, length);
    impl_ = std::move(longer);
}

template <class C>
LightweightString<C> LightweightString<C>::join(const C* first, unsigned firstLength, const C* second,
                                                unsigned secondLength)
{
    const std::size_t head = first != nullptr ? firstLength : 0;
    const std::size_t tail = second != nullptr ? secondLength : 0;
    if (head + tail == 0)
        return LightweightString();
    LightweightString joined(newImpl(checkedLength(head + tail)));
    Traits::copy(joined.impl_->characters(), first, head);
    Traits::copy(joined.impl_->characters() + head, second, tail);
    return joined;
}

template <class C>
void LightweightString<C>::erase(unsigned start, unsigned count)
{
    if (start >= length())
        return;
    const unsigned erased = clipped(start, count);
    if (start + erased == length())
        truncate(start);
    else
        replace(start, erased, nullptr, 0);
}

template <class C>
void LightweightString<C>::replace(unsigned start, unsigned count, const LightweightString& text)
{
    replace(start, count, text.c_str(), text.length());
}

template <class C>
void LightweightString<C>::replace(unsigned start, unsigned count, const C* text, unsigned length)
{
    if (start >= this->length())
        return;
    const std::size_t inserted = text != nullptr ? length : 0;
    const std::size_t tailStart = start + clipped(start, count);
    const std::size_t tail = this->length() - tailStart;
    const unsigned newLength = checkedLength(start + inserted + tail);
    if (newLength == 0)
        return clear();
    ImplPtr replaced = newImpl(newLength);
    Traits::copy(replaced->characters(), c_str(), start);
    Traits::copy(replaced->characters() + start, text, inserted);
    Traits::copy(replaced->characters() + start + inserted, c_str() + tailStart, tail);
    impl_ = std::move(replaced);
}

template <class C>
LightweightString<C> LightweightString<C>::substitute(const C* from, const C* to) const
{
    if (from == nullptr)
        return *this;
    return substituteIn(from, Traits::length(from), View(to != nullptr ? to : terminator));
}

template <class C>
LightweightString<C> LightweightString<C>::substitute(const LightweightString& from, const LightweightString& to) const
{
    return substituteIn(from.c_str(), from.text().size(), to);
}

template <class C>
LightweightString<C> LightweightString<C>::substituteIn(const C* from, std::size_t fromLength, View to) const
{
    if (fromLength == 0)
        return *this;
    std::vector<const C*, StdAllocator<const C*>> places;
    for (const C* p = c_str(); (p = Mw::CText::find(p, from)) != nullptr; p += fromLength)
    {
        if (places.empty())
            places.reserve(64);
        places.push_back(p);
    }
    if (places.empty())
        return *this;
    const std::size_t newLength = length() - places.size() * fromLength + places.size() * to.size();
    if (newLength == 0)
        return LightweightString();
    LightweightString result(newImpl(checkedLength(newLength)));
    C* out = result.impl_->characters();
    const C* rest = c_str();
    for (const C* const place : places)
    {
        const auto head = static_cast<std::size_t>(place - rest);
        Traits::copy(out, rest, head);
        Mw::CText::move(out + head, to.data(), to.size());
        out += head + to.size();
        rest = place + fromLength;
    }
    Traits::copy(out, rest, static_cast<std::size_t>(end() - rest));
    return result;
}

template <class C>
bool LightweightString<C>::sameText(const Impl& a, const Impl& b) noexcept
{
    return order(a, b) == 0;
}

template <class C>
bool LightweightString<C>::startsWith(const C* text, bool caseSensitive) const noexcept
{
    if (text == nullptr || empty())
        return false;
    const std::size_t compared = Traits::length(text);
    return (caseSensitive ? Mw::CText::compare(c_str(), text, compared)
                          : Mw::CText::compareNoCase(c_str(), text, compared)) == 0;
}

template <class C>
bool LightweightString<C>::endsWith(const C* text, bool caseSensitive) const noexcept
{
    if (text == nullptr || empty())
        return false;
    const std::size_t textLength = Traits::length(text);
    if (textLength > length())
        return false;
    const C* const tail = end() - textLength;
    return (caseSensitive ? Mw::CText::compare(tail, text) : Mw::CText::compareNoCase(tail, text)) == 0;
}

extern template class LightweightString<char>;
extern template class LightweightString<wchar_t>;
