#include "Mw/Vector.h"
#include "Mw/LightweightString.h"
#include "Mw/LightweightVector.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <numeric>
#include <string>

using Items = std::vector<int>;

TEST(Vector, removingKeepsTheOrderAndCopiesAreIndependent)
{
    Vector<int> v{1, 2, 3, 2};
    const Vector<int> copy = v;
    EXPECT_TRUE(v.removeItem(2));
    EXPECT_FALSE(v.removeItem(7));
    v.remove(0);
    EXPECT_EQ(v, (Vector<int>{3, 2}));
    for (int i = 0; i < 100; ++i)
        v.push_back(v[0]);
    EXPECT_EQ(std::accumulate(v.begin(), v.end(), 0), 305);
    EXPECT_EQ(copy, (Vector<int>{1, 2, 3, 2}));
}

TEST(Vector, indexOutOfRangeIsReportedAndExecutionGoesOn)
{
    char written[200] = {};
    std::FILE* const stream = fmemopen(written, sizeof written, "w");
    Mw::setDiagnosticStream(stream);
    Vector<int> v{1, 2};
    v.reserve(8);
    v.remove(2);
    static_cast<void>(v[2]);
    Mw::setDiagnosticStream(nullptr);
    std::fclose(stream);
    const std::string line = "assertion failed i < size_ at Mw/Vector line 61\n";
    EXPECT_EQ(written, line + line);
    EXPECT_EQ(v.size(), 2u);
}

namespace
{

template <class V>
Items items(const V& v)
{
    return Items(v.begin(), v.end());
}

LightweightVector<int> make(std::initializer_list<int> values)
{
    LightweightVector<int> v(values.size());
    for (const int value : values)
        v.push_back(value);
    return v;
}

} // namespace

TEST(LightweightVector, swapAndCopyFromReachTheOtherHandles)
{
    LightweightVector<int> a = make({1}), b = make({2, 3});
    const LightweightVector<int> sharesA = a, sharesB = b;
    a.swap(b);
    EXPECT_EQ(items(sharesA), (Items{2, 3}));
    EXPECT_EQ(items(sharesB), Items{1});
    b.copyFrom(a);
    b.push_back(4);
    EXPECT_EQ(items(sharesB), (Items{2, 3, 4}));
    EXPECT_EQ(items(sharesA), (Items{2, 3}));

    // A moved-from handle still has its vector.
    const LightweightVector<int> moved = std::move(a);
    a.remove(9);
    a.remove(0);
    EXPECT_EQ(items(moved), Items{3});
    a.erase(a.begin());
    EXPECT_TRUE(moved.empty() && sharesA == moved);
}

TEST(LightweightVector, appendsItself)
{
    LightweightVector<LightweightString<char>> a;
    a.push_back("x");
    a.push_back("y");
    auto shared = a;
    a += shared;
    ASSERT_EQ(a.size(), 4u);
    EXPECT_EQ(a[2], "x");
    EXPECT_EQ(a.back(), "y");
    EXPECT_TRUE(a.contains("y"));
    EXPECT_FALSE(a.contains(""));
    EXPECT_TRUE(make({1, 2}) != make({1, 2, 3}) && make({1, 2}) != make({2, 1}));
}

// Room that fitted exactly would move all elements each time.
TEST(LightweightVector, appendingManySmallOnesMovesFewElements)
{
    LightweightVector<int> all;
    const LightweightVector<int> one = make({7});
    int moves = 0;
    for (int i = 0; i < 10'000; ++i)
    {
        const int* const before = all.empty() ? nullptr : &all.front();
        all += one;
        moves += before != &all.front() ? 1 : 0;
    }
    EXPECT_LT(moves, 40);
}
