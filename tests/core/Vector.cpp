#include "Mw/Vector.h"
#include "Mw/LightweightVector.h"
#include "media/AssertionLines.h"

#include <gtest/gtest.h>

TEST(Vector, indexOutOfRangeIsReportedAndExecutionGoesOn)
{
    AssertionLines lines;
    Vector<int> v{1, 2};
    v.reserve(8);
    v.remove(2);
    static_cast<void>(v[2]);
    const std::string line = "assertion failed i < size_ at Mw/Vector line 61\n";
    EXPECT_EQ(lines.text(), line + line);
    EXPECT_EQ(v, (Vector<int>{1, 2}));
}

namespace
{

LightweightVector<int> make(std::initializer_list<int> values)
{
    LightweightVector<int> v;
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
    EXPECT_TRUE(sharesA == make({2, 3}) && sharesB == make({1}));
    b.copyFrom(a);
    b.push_back(4);
    EXPECT_TRUE(sharesA == make({2, 3}) && sharesB == make({2, 3, 4}));

    // A moved-from handle still has its vector.
    const LightweightVector<int> moved = std::move(a);
    a.remove(9);
    a.remove(0);
    EXPECT_TRUE(moved == make({3}) && sharesA == moved);
}

// Room that fitted exactly would move all elements each time.
TEST(LightweightVector, appendsManySmallOnesWithFewMovesAndItself)
{
    LightweightVector<int> all = make({7});
    const LightweightVector<int> one = make({7});
    int moves = 0;
    for (int i = 0; i < 10'000; ++i)
    {
        const int* const before = &all.front();
        all += one;
        moves += before != &all.front() ? 1 : 0;
    }
    EXPECT_LT(moves, 40);
    all.push_back(8);
    const LightweightVector<int> shared = all;
    all += shared;
    EXPECT_TRUE(all.size() == 20'004 && all.back() == 8);
}
