#include "misc/base/ResId.h"

#include <gtest/gtest.h>

TEST(Resources, textsAreFoundByNumberAndByResult)
{
    EXPECT_EQ(resourceStr(ResId(10418)), "Copy"); // the first row and the last
    EXPECT_EQ(resourceStr(ResId(13238)), "Inserts the marked material at the present frame");
    EXPECT_EQ(resourceStr(MwResult(11710)), "Page Down");
    EXPECT_EQ(resourceStrW(ResId(11710)), L"Page Down");
    EXPECT_EQ(resourceStrW(MwResult(11710), ResStrFmt::upperCase), L"PAGE DOWN");
}

TEST(Resources, whatHasNoTextShowsItsNumberAndNoResourceIsEmpty)
{
    EXPECT_EQ(resourceStr(ResId(0)), "<resource 0>");
    EXPECT_EQ(resourceStr(MwResult(11671), ResStrFmt::upperCase), "<resource 11671>");
    EXPECT_EQ(resourceStrW(ResId(4294967295u)), L"<resource 4294967295>");
    EXPECT_TRUE(resourceStr(ResId::none).empty());
    EXPECT_TRUE(resourceStrW(MwResult(999999)).empty());
}
