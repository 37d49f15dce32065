#include "bench/harness/Statistics.h"

#include <gtest/gtest.h>

using namespace bench;

namespace
{

bool missesWith(double medianNs, double lowerQuartileNs, double otherNs, Steadiness steadiness = Steadiness::steady)
{
    return misses({medianNs, lowerQuartileNs}, {otherNs, otherNs}, 1.0, steadiness);
}

} // namespace

TEST(BenchRules, summaryOfUnorderedSamples)
{
    const Summary odd = summarise({5, 1, 4, 2, 3});
    EXPECT_DOUBLE_EQ(odd.medianNs, 3);
    EXPECT_DOUBLE_EQ(odd.lowerQuartileNs, 2);
    EXPECT_DOUBLE_EQ(summarise({40, 10, 20, 30}).medianNs, 25);
    EXPECT_DOUBLE_EQ(summarise({}).medianNs, 0);
}

TEST(BenchRules, rowMissesOnlyWhenBothRatiosAreMoreThanATenthAbove)
{
    EXPECT_FALSE(missesWith(109, 109, 100));
    EXPECT_FALSE(missesWith(180, 109, 100));
    EXPECT_FALSE(missesWith(109, 180, 100));
    EXPECT_TRUE(missesWith(111, 111, 100));
}

TEST(BenchRules, unsteadyRowsMayBeHalfAbove)
{
    EXPECT_FALSE(missesWith(149, 149, 100, Steadiness::unsteady));
    EXPECT_TRUE(missesWith(151, 151, 100, Steadiness::unsteady));
}

TEST(BenchRules, rowsUnderTwoNanosecondsMayDifferByAFifthOfOne)
{
    EXPECT_FALSE(missesWith(0.59, 0.59, 0.4));
    EXPECT_TRUE(missesWith(0.61, 0.61, 0.4));
    EXPECT_TRUE(missesWith(2.4, 2.4, 1.9)) << "2 and above are not short";
}
