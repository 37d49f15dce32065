#include "bench/harness/Report.h"
#include "libmw/Text.h"
#include "misc/text/JSON.h"

#include <gtest/gtest.h>

#include "platform/TempFolder.h"

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

TEST(BenchRules, rowsAreWrittenAsJsonWithOrWithoutAimPeerAndLimit)
{
    const TempFolder folder;
    const std::string path = folder.path() / "bench.json";
    const Case full{"area/full", "",          {{1.5, "peer"}},
                    1,           Clock::wall, {{Role::ours, "ours", {}}, {Role::peer, "peer", {}}}};
    const Case bare{"area/bare", "", {}, 1, Clock::wall, {{Role::ours, "ours", {}}}};
    ASSERT_TRUE(writeJson(path.c_str(), {{&full, {{20, 20}, {10, 10}}}, {&bare, {{5, 5}}}}));

    const Mw::Ptr<JSON::Element> rows = JSON::parseFile(fromUTF8(path.c_str()));
    ASSERT_TRUE(rows && rows->getNumChildren() == 2);
    EXPECT_EQ(rows->getChild(0)->getNum(L"ratio"), 2);
    EXPECT_EQ(rows->getChild(0)->getNum(L"aim"), 1.5);
    EXPECT_EQ(rows->getChild(1)->getNum(L"ours_ns"), 5);
    EXPECT_FALSE(rows->getChild(1)->hasNum(L"aim"));
}
