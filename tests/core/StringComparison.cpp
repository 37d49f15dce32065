#include "Mw/LightweightString.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace
{

// In a block with just enough room, or in one whose room is a power of two.
template <class C>
LightweightString<C> inBlock(const std::basic_string<C>& text, bool roundUp)
{
    auto impl = LightweightString<C>::createImpl(static_cast<unsigned>(text.size()), roundUp);
    if (impl)
        text.copy(impl->characters(), text.size());
    return LightweightString<C>(std::move(impl));
}

template <class C>
struct StringComparison : testing::Test
{
};
using Widths = testing::Types<char, wchar_t>;
TYPED_TEST_SUITE(StringComparison, Widths);

} // namespace

// Pairs of texts that begin alike, of all lengths around the borders of how they are compared, with zeros and
// characters above ASCII in them, in blocks of both kinds: they compare as what stands before their first zeros.
TYPED_TEST(StringComparison, isThatOfStandardStringsUpToTheFirstZero)
{
    using C = TypeParam;
    using Model = std::basic_string<C>;
    std::mt19937 random(11);
    const auto below = [&](unsigned end) { return static_cast<unsigned>(random() % end); };
    const auto upToZero = [](const Model& text) { return Model(text.c_str()); };
    for (int round = 0; round < 60'000; ++round)
    {
        const unsigned length = below(10) == 0 ? below(300) : below(70);
        Model first(length, C());
        for (C& c : first)
            c = static_cast<C>(below(40) == 0 ? 0 : 'a' + below(2));
        Model second = below(3) == 0 ? first.substr(0, below(length + 1)) : first;
        second.resize(second.size() + below(3) / 2 * below(4), C('a'));
        if (!second.empty() && below(3) != 0)
            second[below(static_cast<unsigned>(second.size()))] = static_cast<C>(below(4) == 0 ? 0 : 'b' + below(140));

        const auto a = inBlock(first, below(2) == 0), b = inBlock(second, below(2) == 0);
        const Model x = upToZero(first), y = upToZero(second);
        ASSERT_EQ(a == b, x == y) << first.size() << " and " << second.size() << " in round " << round;
        ASSERT_TRUE((a <=> b) == (x <=> y)) << first.size() << " and " << second.size() << " in round " << round;
        ASSERT_EQ(a == second.c_str(), x == y);
        ASSERT_TRUE((a <=> second.c_str()) == (x <=> y));
    }
}
