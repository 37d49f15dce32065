#include "Mw/LightweightString.h"
#include "Mw/Exception.h"

#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <sstream>
#include <string>
#include <string_view>
#include <thread>
#include <unordered_set>
#include <vector>

using namespace std::string_view_literals;

namespace
{

template <class C>
std::basic_string<C> as(const char* text)
{
    return std::basic_string<C>(text, text + std::char_traits<char>::length(text));
}

// What holds for every string, however it came about.
template <class C>
void expectSound(const LightweightString<C>& s)
{
    EXPECT_EQ(s.c_str()[s.length()], C());
    if (s.empty())
        EXPECT_EQ(s.capacity(), 0u) << "an empty string holds no block";
    else
        EXPECT_LT(s.length(), s.capacity());
}

template <class C>
void expectText(const LightweightString<C>& s, const char* text)
{
    expectSound(s);
    EXPECT_TRUE(s == std::basic_string_view<C>(as<C>(text))) << testing::PrintToString(std::basic_string<C>(s));
    EXPECT_EQ(s.length(), as<C>(text).size());
}

} // namespace

template <class C>
struct LightweightStringOf : testing::Test
{
    using S = LightweightString<C>;
    static S make(const char* text) { return S(std::basic_string_view<C>(as<C>(text))); }
};
using Widths = testing::Types<char, wchar_t>;
TYPED_TEST_SUITE(LightweightStringOf, Widths);

#define STRING_OF_BOTH_WIDTHS                                                                                          \
    using C [[maybe_unused]] = TypeParam;                                                                              \
    using S [[maybe_unused]] = LightweightString<C>;                                                                   \
    [[maybe_unused]] const auto make = [](const char* text) { return TestFixture::make(text); };

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
    STRING_OF_BOTH_WIDTHS
    const C zero = C();
    S emptied = make("x");
    emptied.erase(0);
    S resized = make("x");
    resized.resizeFor(0);
    S assigned = make("x");
    assigned.assign(nullptr, 5);
    const S all[] = {S(),
                     S(nullptr),
                     S(&zero),
                     S(0, C('x')),
                     S(nullptr, 4),
                     emptied,
                     resized,
                     assigned,
                     make("x").substr(1),
                     S::join(nullptr, 3, nullptr, 2),
                     make("xx").substitute(as<C>("x").c_str(), nullptr)};
    for (const S& s : all)
    {
        expectText(s, "");
        EXPECT_TRUE(s.empty());
        EXPECT_EQ(s, all[0]);
        EXPECT_EQ(s, nullptr);
        EXPECT_EQ(*s.c_str(), C());
    }
}

TYPED_TEST(LightweightStringOf, capacityIsThePowerOfTwoAboveTheLength)
{
    STRING_OF_BOTH_WIDTHS
    const std::pair<unsigned, unsigned> table[] = {{1, 2}, {2, 4},  {3, 4},   {4, 8},
                                                   {7, 8}, {8, 16}, {40, 64}, {64, 128}};
    for (const auto& [length, capacity] : table)
    {
        EXPECT_EQ(S(length, C('x')).capacity(), capacity);
        EXPECT_EQ(S(S::createImpl(length, true)).capacity(), capacity);
        EXPECT_EQ(S(S::createImpl(length, false)).capacity(), length + 1);
        S grown(length - 1, C('x'));
        grown.push_back(C('y'));
        EXPECT_EQ(grown.capacity(), capacity);
        EXPECT_EQ(grown.back(), C('y'));
        expectSound(grown);
    }
    EXPECT_FALSE(S::createImpl(0, false));
}

TYPED_TEST(LightweightStringOf, copiesShareUntilOneChanges)
{
    STRING_OF_BOTH_WIDTHS
    const S original = make("reel");
    const auto x = as<C>("xyz");
    using Change = void (*)(S&, const C*);
    const std::pair<Change, const char*> changes[] = {
        {[](S& s, const C* t) { s += t; }, "reelxyz"},
        {[](S& s, const C* t) { s.push_back(*t); }, "reelx"},
        {[](S& s, const C* t) { s[1] = *t; }, "rxel"},
        {[](S& s, const C* t) { s.assign(t, 2); }, "xy"},
        {[](S& s, const C* t) { s = t; }, "xyz"},
        {[](S& s, const C*) { s.erase(1, 2); }, "rl"},
        {[](S& s, const C*) { s.erase(2); }, "re"},
        {[](S& s, const C*) { s.resize(3); }, "ree"},
        {[](S& s, const C* t) { s.replace(1, 2, t, 3); }, "rxyzl"},
        {[](S& s, const C* t) { s.writable()[3] = *t; }, "reex"},
    };
    for (const auto& [change, result] : changes)
    {
        S copy = original;
        EXPECT_EQ(copy.c_str(), original.c_str());
        change(copy, x.c_str());
        expectText(copy, result);
        EXPECT_TRUE(copy.isSoleOwner());
        expectText(original, "reel");

        // And the same where nothing is shared.
        S own = make("reel");
        change(own, x.c_str());
        expectText(own, result);
    }
    EXPECT_TRUE(original.isSoleOwner());

    S resized = original;
    resized.resizeFor(2);
    EXPECT_EQ(resized.length(), 2u);
    expectSound(resized);
    expectText(original, "reel");
}

TYPED_TEST(LightweightStringOf, changesThatChangeNothingKeepTheSharing)
{
    STRING_OF_BOTH_WIDTHS
    const S original = make("reel");
    S copy = original;
    copy[1] = C('e');
    copy[2] = copy[1];
    copy.append(original.c_str(), 0);
    copy += static_cast<const C*>(nullptr);
    copy.erase(4);
    copy.erase(9, 1);
    copy.replace(4, 1, make("x"));
    copy.resize(4);
    EXPECT_EQ(copy.c_str(), original.c_str());
    EXPECT_EQ(original.substr(0).c_str(), original.c_str());
    EXPECT_EQ(original.substitute(as<C>("x").c_str(), as<C>("y").c_str()).c_str(), original.c_str());

    copy.unshare();
    EXPECT_NE(copy.c_str(), original.c_str());
    EXPECT_EQ(copy, original);
    S empty;
    empty.unshare();
    EXPECT_EQ(empty.writable(), nullptr);
}

TYPED_TEST(LightweightStringOf, soleOwnerChangesInPlaceWhileThereIsRoom)
{
    STRING_OF_BOTH_WIDTHS
    S s = make("abcde");
    const C* const block = s.c_str();
    s += as<C>("fg").c_str();
    s[0] = C('x');
    s.erase(5);
    s.assign(as<C>("1234567").c_str(), 7);
    s.resizeFor(3);
    expectText(s, "123");
    s.resize(5);
    EXPECT_EQ(s.substr(3), S(std::basic_string_view<C>(as<C>(""))));
    EXPECT_EQ(s.c_str(), block);

    // Strictly less than the capacity: the terminator needs its place.
    s.resizeFor(8);
    EXPECT_EQ(s.length(), 8u);
    EXPECT_EQ(s.capacity(), 16u);
    expectSound(s);
}

TYPED_TEST(LightweightStringOf, takesPartsOfItself)
{
    STRING_OF_BOTH_WIDTHS
    S s = make("hello");
    s += s;
    s += s;
    expectText(s, "hellohellohellohello");
    s.append(s.c_str() + 15, 5);
    expectText(s, "hellohellohellohellohello");
    s.assign(s.c_str() + 1, 4);
    expectText(s, "ello");
    s.replace(1, 1, s);
    expectText(s, "eellolo");
    s = s.c_str() + 3;
    expectText(s, "lolo");
    const S shared = s;
    s.assign(s.c_str() + 1);
    expectText(s, "olo");
    auto& self = s;
    s = self;
    s = std::move(self);
    expectText(s, "olo");
}

// Only assign stops at a zero in its source; all else takes it as a character.
TYPED_TEST(LightweightStringOf, zerosInsideAreKeptButByAssign)
{
    STRING_OF_BOTH_WIDTHS
    const C raw[] = {'a', 0, 'b', 'c'};
    const std::basic_string_view<C> view(raw, 4);
    const auto whole = [](const S& s) { return std::basic_string_view<C>(s); };

    S assigned = make("12345");
    assigned.assign(raw, 4);
    EXPECT_EQ(whole(assigned), std::basic_string_view<C>((const C[]){'a', 0, 0, 0}, 4));
    S appendedToEmpty;
    appendedToEmpty.append(raw, 4);
    EXPECT_EQ(whole(appendedToEmpty), whole(assigned));

    S appended = make("x");
    appended.append(raw, 4);
    EXPECT_EQ(whole(appended.substr(1)), view);
    EXPECT_EQ(whole(S::join(raw, 4, raw, 1)).substr(0, 4), view);
    EXPECT_EQ(whole(S(view)), view);
    S replaced = make("xyz");
    replaced.replace(1, 1, raw, 4);
    EXPECT_EQ(whole(replaced).substr(1, 4), view);
    EXPECT_EQ(whole(make("-").substitute(make("-"), S(view))), view);

    // Comparison and hash see the text before the zero.
    EXPECT_EQ(assigned, make("a"));
    EXPECT_EQ(S(view), make("a"));
    EXPECT_EQ(S(view), std::basic_string_view<C>(raw, 1));
    EXPECT_EQ(std::hash<S>()(S(view)), std::hash<S>()(make("a")));
}

TYPED_TEST(LightweightStringOf, countsThatOverrunMeanToTheEnd)
{
    STRING_OF_BOTH_WIDTHS
    const S s = make("timeline");
    for (const unsigned count : {4u, 5u, 0xFFFFFFFCu, 0xFFFFFFFEu, S::npos})
    {
        expectText(s.substr(4, count), "line");
        S erased = s;
        erased.erase(4, count);
        expectText(erased, "time");
        S replaced = s;
        replaced.replace(4, count, make("r"));
        expectText(replaced, "timer");
    }
    expectText(s.substr(8, 1), "");
    expectText(s.substr(S::npos, S::npos), "");
    expectText(s.substr(2, 3), "mel");
    S gone = s;
    gone.replace(0, S::npos, nullptr, 3);
    expectText(gone, "");
}

TYPED_TEST(LightweightStringOf, substituteReplacesAllAndNeverItsOwnText)
{
    STRING_OF_BOTH_WIDTHS
    const char* const table[][4] = {
        {"aa", "a", "aa", "aaaa"},
        {"aaa", "aa", "b", "ba"},
        {"a-b-c", "-", "", "abc"},
        {"a-b-c", "-", "--", "a--b--c"},
        {"path/to", "/", "\\", "path\\to"},
        {"abc", "abc", "", ""},
        {"abc", "", "x", "abc"},
        {"", "a", "b", ""},
    };
    for (const auto& [text, from, to, result] : table)
    {
        expectText(make(text).substitute(as<C>(from).c_str(), as<C>(to).c_str()), result);
        expectText(make(text).substitute(make(from), make(to)), result);
    }
    expectText(make("abc").substitute(nullptr, as<C>("x").c_str()), "abc");
}

TYPED_TEST(LightweightStringOf, findsFromAPlaceOn)
{
    STRING_OF_BOTH_WIDTHS
    const S s = make("a/b/c");
    EXPECT_EQ(s.find(C('/')), 1u);
    EXPECT_EQ(s.find(C('/'), 2), 3u);
    EXPECT_EQ(s.rfind(C('/')), 3u);
    EXPECT_EQ(s.find(make("/c")), 3u);
    EXPECT_EQ(s.find(as<C>("/").c_str(), 5), S::npos);
    EXPECT_EQ(s.find(as<C>("x").c_str()), S::npos);
    EXPECT_EQ(s.find(as<C>("a").c_str(), 6), S::npos);
    EXPECT_EQ(s.find(C('a'), S::npos), S::npos);
    EXPECT_EQ(S().rfind(C('a')), S::npos);
}

TYPED_TEST(LightweightStringOf, startsAndEndsWithOrWithoutCase)
{
    STRING_OF_BOTH_WIDTHS
    const S s = make("Clip.MOV");
    const auto starts = [](const S& s, const char* t, bool mindsCase)
    { return s.startsWith(as<C>(t).c_str(), mindsCase); };
    const auto ends = [](const S& s, const char* t, bool mindsCase) { return s.endsWith(as<C>(t).c_str(), mindsCase); };
    EXPECT_TRUE(starts(s, "Cli", true) && starts(s, "cLI", false) && starts(s, "", true));
    EXPECT_FALSE(starts(s, "cli", true) || starts(s, "Clip.MOV2", false) || starts(S(), "", true));
    EXPECT_TRUE(ends(s, ".MOV", true) && ends(s, ".mov", false) && ends(s, "", true) && ends(s, "Clip.MOV", true));
    EXPECT_FALSE(ends(s, ".mov", true) || ends(s, "xClip.MOV", false) || ends(S(), "", true));
    EXPECT_FALSE(s.startsWith(nullptr) || s.endsWith(nullptr));
}

TYPED_TEST(LightweightStringOf, comparesWithEveryKindOfText)
{
    STRING_OF_BOTH_WIDTHS
    const S b = make("b");
    const auto text = as<C>("b");
    const std::basic_string_view<C> view = text;
    EXPECT_TRUE(b == text.c_str() && text.c_str() == b && b == view && view == b && b == text && text == b);
    const auto a = as<C>("a");
    EXPECT_TRUE(b > a.c_str() && a.c_str() < b && b > std::basic_string_view<C>(a) && make("a") < b && b != make("a"));
    EXPECT_TRUE(S() < b && b > nullptr && make("b") <= make("ba"));

    EXPECT_EQ(S::compare(nullptr, nullptr), 0);
    EXPECT_EQ(S::compare(nullptr, text.c_str()), -1);
    EXPECT_EQ(S::compare(text.c_str(), nullptr), 1);
    EXPECT_EQ(S::compare(nullptr, S().c_str()), 0);
    EXPECT_LT(S::compare(S().c_str(), text.c_str()), 0);
}

// Short and long texts are compared and copied in different ways: every length around the borders, with a
// difference at every place.
TYPED_TEST(LightweightStringOf, everyPlaceOfEveryLengthCounts)
{
    STRING_OF_BOTH_WIDTHS
    std::basic_string<C> text;
    for (unsigned length = 1; length <= 70; ++length)
    {
        text += static_cast<C>('a' + length % 26);
        const S original(text);
        ASSERT_EQ(original, S(text.c_str()));
        ASSERT_TRUE(original == text);
        for (unsigned place = 0; place < length; ++place)
        {
            S other = original;
            other[place] = C('~');
            ASSERT_NE(other, original) << length << " at " << place;
            ASSERT_LT(original, other);
        }
        S appended = make("x");
        appended.append(text.c_str(), length);
        ASSERT_EQ(appended.substr(1), original);
    }
}

TYPED_TEST(LightweightStringOf, servesAsKeyRangeAndView)
{
    STRING_OF_BOTH_WIDTHS
    std::map<S, int> ordered{{make("b"), 2}, {make("a"), 1}, {S(), 0}};
    int expected = 0;
    for (const auto& [key, number] : ordered)
        EXPECT_EQ(number, expected++);
    const std::unordered_set<S> set{make("a"), make("b"), make("a")};
    EXPECT_EQ(set.size(), 2u);

    const S s = make("shot");
    EXPECT_EQ(std::basic_string<C>(s.begin(), s.end()), as<C>("shot"));
    EXPECT_EQ(std::basic_string<C>(s), as<C>("shot"));
    std::basic_ostringstream<C> out;
    out << s;
    EXPECT_EQ(out.str(), as<C>("shot"));
    expectText(make("a") + make("b") + as<C>("c").c_str() + std::basic_string_view<C>(as<C>("d")) + C('e'), "abcde");

    S a = make("a"), b = make("b");
    swap(a, b);
    EXPECT_EQ(a, make("b"));
    const S moved = std::move(a);
    EXPECT_TRUE(a.empty());
}

// A text of a length that the fields can't hold is refused before anything is copied.
TEST(LightweightString, tooLongIsRefused)
{
    using S = LightweightString<char>;
    const S text(0x1000, 'x');
    const char* const start = text.c_str();
    EXPECT_THROW(S::join(start, 0x80000000u, start, 0x80000000u), Mw::Exception::BadAlloc);
    EXPECT_THROW(S(std::string_view(start, 0x100000000u)), Mw::Exception::BadAlloc);
    EXPECT_THROW(S::createImpl(S::npos, true), Mw::Exception::BadAlloc);
    S appended = text;
    EXPECT_THROW(appended.append(start, 0xFFFFFFFEu), Mw::Exception::BadAlloc);
    EXPECT_EQ(appended, text);
}

// Threads take, change and drop their own handles on one text: nobody's text changes under it, and the
// last one frees the block.
TEST(LightweightString, threadsShareOneText)
{
    using S = LightweightString<char>;
    for (int round = 0; round < 20; ++round)
    {
        S text("shared by all of the threads");
        std::vector<std::thread> threads;
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
        for (auto& thread : threads)
            thread.join();
    }
}
