#include "misc/base/ResId.h"

#include <gtest/gtest.h>

TEST(Resources, textsAreFoundByNumberAndByResult)
{
    EXPECT_EQ(resourceStr(ResId(11656)), "Alt"); // the first row and the last
    EXPECT_EQ(resourceStr(ResId(11717)), "Up");
    EXPECT_EQ(resourceStr(MwResult(11710)), "Page Down");
    EXPECT_EQ(resourceStrW(ResId(11710)), L"Page Down");
    EXPECT_EQ(resourceStrW(MwResult(11710), ResStrFmt::upperCase), L"PAGE DOWN");
}

TEST(Resources, whatHasNoTextShowsItsNumberAndNoResourceIsEmpty)
{
    EXPECT_EQ(resourceStr(ResId(0)), "<resource 0>");
    EXPECT_EQ(resourceStr(MwResult(11660), ResStrFmt::upperCase), "<resource 11660>");
    EXPECT_EQ(resourceStrW(ResId(4294967295u)), L"<resource 4294967295>");
    EXPECT_TRUE(resourceStr(ResId::none).empty());
    EXPECT_TRUE(resourceStrW(MwResult(999999)).empty());
}
