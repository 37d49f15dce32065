#include "Mw/LightweightString.h"
#include "Mw/Exception.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <cwchar>
#include <random>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

using namespace std::string_view_literals;

namespace
{

template <class S>
S make(const char* text)
{
    return S(std::basic_string<typename S::value_type>(text, text + std::strlen(text)));
}

// What holds for every string, however it came about.
template <class S>
void expectSound(const S& s)
{
    EXPECT_EQ(s.c_str()[s.length()], 0);
    EXPECT_TRUE(s.empty() ? s.capacity() == 0 : s.length() < s.capacity()) << s.length() << " of " << s.capacity();
}

// In a block with just enough room, or in one whose room is a power of two.
template <class S>
S inBlock(const std::basic_string<typename S::value_type>& text, bool roundUp)
{
    auto impl = S::createImpl(static_cast<unsigned>(text.size()), roundUp);
    if (impl)
        text.copy(impl->characters(), text.size());
    return S(std::move(impl));
}

template <class S>
struct LightweightStringOf : testing::Test
{
};
using Widths = testing::Types<LightweightString<char>, LightweightString<wchar_t>>;

} // namespace

TYPED_TEST_SUITE(LightweightStringOf, Widths);

// The example of the header, byte by byte.
TEST(LightweightString, blockHoldsHeaderAndText)
{
    const LightweightString<char> s = "clip9";
    const char* const block = s.c_str() - 24;
    const char* data = nullptr;
    std::memcpy(&data, block, sizeof data);
    EXPECT_EQ(data, block + 24);
    EXPECT_EQ(std::string_view(block + 8, 12), "\5\0\0\0\x8\0\0\0\1\0\0\0"sv);
    EXPECT_EQ(std::string_view(block + 24, 6), "clip9\0"sv);

    // The handle: where the count is, then the block.
    const char* words[2];
    std::memcpy(words, &s, sizeof words);
    EXPECT_EQ(words[0], block + 16);
    EXPECT_EQ(words[1], block);
}

TYPED_TEST(LightweightStringOf, emptyHasNoBlockHoweverItIsMade)
{
    using S = TypeParam;
    S assigned = make<S>("x");
    assigned.assign(nullptr, 5);
    const S x = make<S>("x");
    for (const S& s : {S(nullptr), S(0u, 'x'), S(nullptr, 4), assigned, S::join(nullptr, 3, nullptr, 2), x.substr(1),
                       x.substitute(x, S())})
    {
        expectSound(s);
        EXPECT_TRUE(s.empty() && s == S() && s == nullptr);
    }
}

TYPED_TEST(LightweightStringOf, capacityIsThePowerOfTwoAboveTheLength)
{
    using S = TypeParam;
    for (const auto& [length, capacity] : {std::pair(1u, 2u), {2, 4}, {3, 4}, {4, 8}, {7, 8}, {8, 16}, {40, 64}})
    {
        EXPECT_EQ(S(S::createImpl(length, true)).capacity(), capacity);
        EXPECT_EQ(S(S::createImpl(length, false)).capacity(), length + 1);
        S grown(length - 1, 'x');
        grown.push_back('y');
        EXPECT_EQ(grown.capacity(), capacity);
    }
    // A sole owner changes in place while there is room, the terminator's included.
    S s = make<S>("abcde");
    const auto* const block = s.c_str();
    s += make<S>("fg");
    s[0] = 'x';
    s.resizeFor(3);
    EXPECT_EQ(s.c_str(), block);
    s.resizeFor(8);
    EXPECT_EQ(s.capacity(), 16u);
}

TYPED_TEST(LightweightStringOf, changesThatChangeNothingKeepTheSharing)
{
    using S = TypeParam;
    const S original = make<S>("reel");
    S copy = original;
    copy[1] = 'e';
    copy[2] = copy[1];
    copy.append(original.c_str(), 0);
    copy.erase(4);
    copy.replace(4, 1, make<S>("x"));
    copy.resize(4);
    EXPECT_EQ(copy.c_str(), original.c_str());
    EXPECT_EQ(original.substr(0).c_str(), original.c_str());
    for (const S& absent : {make<S>("x"), S()})
        EXPECT_EQ(original.substitute(absent, make<S>("y")).c_str(), original.c_str());
    copy.unshare();
    EXPECT_NE(copy.c_str(), original.c_str());
}

// A few handles that share, take and change parts of each other's texts, beside standard strings that do the
// same: no change shows through another handle, whatever came before it.
TYPED_TEST(LightweightStringOf, doesWhatAStandardStringDoes)
{
    using S = TypeParam;
    using C = typename S::value_type;
    using Model = std::basic_string<C>;
    std::mt19937 random(7);
    const auto below = [&](std::size_t end) { return static_cast<unsigned>(random() % end); };
    std::array<S, 4> ours;
    std::array<Model, 4> models;
    for (int step = 0; step < 40'000; ++step)
    {
        const unsigned i = below(4), j = below(4), op = below(20);
        S& s = ours[i];
        Model& m = models[i];
        const Model from = models[j];
        const auto c = static_cast<C>('a' + below(2));
        const unsigned length = s.length(), at = below(length + 2);
        const unsigned count = below(4) == 0 ? S::npos - below(2) : below(length + 2);
        const unsigned start = below(2) * below(from.size() + 1);
        const unsigned rest = static_cast<unsigned>(from.size()) - start;
        const unsigned part = below(2) == 0 ? rest : below(rest + 1);
        if (m.size() > 200 || op == 0)
            s = S(1 + below(40), c), m = Model(s);
        else if (op == 1)
            s = ours[j], m = from;
        else if (op == 2 || op >= 16)
            s.append(ours[j].c_str() + start, part), m.append(from, start, part);
        else if (op == 3)
            s.assign(ours[j].c_str() + start, part), m = from.substr(start, part);
        else if (op == 4 || (op >= 13 && op < 16))
            s.push_back(c), m.push_back(c);
        else if (op == 5 && at < length)
            s[at] = c, m[at] = c;
        else if (op == 6 && at < length)
            s.replace(at, count, ours[j]), m.replace(at, count, from);
        else if (op == 7 && at < length)
            s.erase(at, count), m.erase(at, count);
        else if (op == 8 && at <= length)
            s.resize(at), m.resize(at);
        else if (op == 9)
            s = ours[j].substr(start, count), m = from.substr(start, count);
        else if (op == 10)
            s = S::join(ours[j].c_str(), start, s.c_str(), length), m = from.substr(0, start) + m;
        else if (op == 11 && i != j)
            s = std::move(ours[j]), m = std::exchange(models[j], {});
        else if (op == 12 && !from.empty())
        {
            const S sought = ours[j].substr(below(from.size()), 1 + below(2));
            const Model text(sought);
            ASSERT_EQ(s.find(sought, at), at > length ? S::npos : static_cast<unsigned>(m.find(text, at)));
            ASSERT_EQ(s.rfind(c), static_cast<unsigned>(m.rfind(c)));
            s = s.substitute(sought, S(2, c));
            for (std::size_t place = 0; (place = m.find(text, place)) != Model::npos; place += 2)
                m.replace(place, text.size(), 2, c);
        }
        for (unsigned k = 0; k < 4; ++k)
        {
            expectSound(ours[k]);
            ASSERT_EQ(std::basic_string_view<C>(ours[k]), models[k]) << "step " << step << ", operation " << op;
        }
    }
}

// Pairs of texts that begin alike, of all lengths around the borders of how they are compared, with zeros and
// characters above ASCII in them, in blocks of both kinds: they compare as C texts.
TYPED_TEST(LightweightStringOf, comparesAsTextUpToTheFirstZero)
{
    using S = TypeParam;
    using C = typename S::value_type;
    using Model = std::basic_string<C>;
    std::mt19937 random(11);
    const auto below = [&](unsigned end) { return static_cast<unsigned>(random() % end); };
    const auto order = [](const Model& a, const Model& b)
    {
        if constexpr (sizeof(C) == 1)
            return std::strcmp(a.c_str(), b.c_str()) <=> 0;
        else
            return std::wcscmp(a.c_str(), b.c_str()) <=> 0;
    };
    for (int round = 0; round < 60'000; ++round)
    {
        const unsigned length = below(10) == 0 ? below(300) : below(70);
        Model first(length, C());
        for (C& c : first)
            c = static_cast<C>(below(40) == 0 ? 0 : 'a' + below(2));
        Model second = below(3) == 0 ? first.substr(0, below(length + 1)) : first;
        second.resize(second.size() + below(3) / 2 * below(4), C('a'));
        if (!second.empty() && below(3) != 0)
            second[below(static_cast<unsigned>(second.size()))] =
                static_cast<C>(below(4) == 0 ? 0 : 'b' + below(140) - 200 * below(2));

        const auto a = inBlock<S>(first, below(2) == 0), b = inBlock<S>(second, below(2) == 0);
        const std::strong_ordering expected = order(first, second);
        ASSERT_EQ(a == b, expected == 0) << first.size() << " and " << second.size() << " in round " << round;
        ASSERT_TRUE((a <=> b) == expected) << first.size() << " and " << second.size() << " in round " << round;
        ASSERT_EQ(a == second.c_str(), expected == 0);
        ASSERT_TRUE((a <=> second.c_str()) == expected && (b <=> S()) == order(second, Model()));
    }
}

TYPED_TEST(LightweightStringOf, edgesOfSearching)
{
    using S = TypeParam;
    const S s = make<S>("Clip.MOV");
    const auto* const null = static_cast<const typename S::value_type*>(nullptr);
    const auto starts = [](const S& s, const char* t, bool mindsCase)
    { return s.startsWith(make<S>(t).c_str(), mindsCase); };
    const auto ends = [](const S& s, const char* t, bool mindsCase)
    { return s.endsWith(make<S>(t).c_str(), mindsCase); };
    EXPECT_TRUE(starts(s, "cLI", false) && starts(s, "", true) && ends(s, ".mov", false) && ends(s, "", true));
    EXPECT_FALSE(starts(s, "cli", true) || starts(s, "Clip.MOV2", false) || starts(S(), "", true));
    EXPECT_FALSE(ends(s, ".mov", true) || ends(s, "xClip.MOV", false) || ends(S(), "", true));
    EXPECT_FALSE(s.startsWith(null) || s.endsWith(null));
    EXPECT_TRUE(S::compare(null, S().c_str()) == 0 && S::compare(null, s.c_str()) < 0 &&
                S::compare(s.c_str(), null) > 0);
}

// Only assign stops at a zero in its source; all else takes it as a character.
TYPED_TEST(LightweightStringOf, zerosInsideAreKeptButByAssign)
{
    using S = TypeParam;
    using C = typename S::value_type;
    const C raw[] = {'a', 0, 'b', 'c'}, cut[] = {'a', 0, 0, 0};
    const std::basic_string_view<C> view(raw, 4);
    S assigned = make<S>("12345"), appendedToEmpty, appended = make<S>("x"), replaced = make<S>("xyz");
    assigned.assign(raw, 4);
    appendedToEmpty.append(raw, 4);
    for (const S& s : {assigned, appendedToEmpty})
        EXPECT_EQ(std::basic_string_view<C>(s), std::basic_string_view<C>(cut, 4));
    appended.append(raw, 4);
    replaced.replace(1, 1, raw, 4);
    for (const S& kept : {S(view), appended.substr(1), S::join(raw, 4, raw, 1).substr(0, 4), replaced.substr(1, 4),
                          make<S>("-").substitute(make<S>("-"), S(view))})
    {
        EXPECT_EQ(std::basic_string_view<C>(kept), view);
        EXPECT_EQ(std::hash<S>()(kept), std::hash<S>()(make<S>("a"))); // sees the text before the zero
    }
}

// A text of a length that the fields can't hold is refused before anything is copied.
TEST(LightweightString, tooLongIsRefused)
{
    using S = LightweightString<char>;
    S text(0x1000, 'x');
    const char* const start = text.c_str();
    EXPECT_THROW(S::join(start, 0x80000000u, start, 0x80000000u), Mw::Exception::BadAlloc);
    EXPECT_THROW(S(std::string_view(start, 0x100000000u)), Mw::Exception::BadAlloc);
    EXPECT_THROW(S::createImpl(S::npos, true), Mw::Exception::BadAlloc);
    EXPECT_THROW(text.append(start, 0xFFFFFFFEu), Mw::Exception::BadAlloc);
    EXPECT_EQ(text, S(0x1000, 'x'));
}

// Threads take, change and drop their own handles on one text: nobody's text changes under it, and the
// last one frees the block.
TEST(LightweightString, threadsShareOneText)
{
    using S = LightweightString<char>;
    for (int round = 0; round < 20; ++round)
    {
        S text("shared by all of the threads");
        std::vector<std::jthread> threads;
        for (char mark = 'a'; mark < 'e'; ++mark)
            threads.emplace_back(
                [mark, mine = text]() mutable
                {
                    for (int n = 0; n < 200; ++n)
                    {
                        S copy = mine;
                        ASSERT_EQ(copy, "shared by all of the threads");
                        copy[0] = mark;
                        copy.push_back(mark);
                        ASSERT_EQ(copy.front(), mark);
                    }
                    // The last owner changes in place, which the others' reads must come before.
                    mine[0] = mark;
                    mine += "!";
                    ASSERT_EQ(mine.front(), mark);
                });
        text.clear();
    }
}
