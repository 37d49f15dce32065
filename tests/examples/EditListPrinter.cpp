#include "examples/editsession/EditListPrinter.h"
#include "ListReading.h"

#include <sstream>
#include <vector>

namespace
{

// The printed rows, those under the table's head.
std::vector<std::string> rows(const EditList& list, film_gauge gauge = FILM_35MM)
{
    std::istringstream text(EditListPrinter(list, gauge).print());
    std::vector<std::string> lines;
    bool inTable = false;
    for (std::string line; std::getline(text, line);)
    {
        if (inTable && !line.empty())
            lines.push_back(line);
        inTable = inTable || line.substr(0, 4) == "Evt ";
    }
    return lines;
}

TEST(EditListPrinter, totalCountsARecordOnceWhateverLiesOverIt)
{
    const std::vector<std::string> lines =
        rows(readList("1 R V C 00:00:00:00 00:00:00:00 23:59:59:00 23:59:59:00\n"
                      "1 S V D 025 00:00:00:00 00:00:02:00 23:59:59:00 00:00:01:00\n"
                      "2 S V K B 00:00:00:00 00:00:04:00 00:00:01:00 00:00:05:00\n"
                      "2 T V K 000 00:00:00:00 00:00:04:00 00:00:01:00 00:00:05:00\n")
                 .list);
    ASSERT_EQ(lines.size(), 5u);
    EXPECT_TRUE(lines[0].ends_with("00:00:00 00:00:00:00    0.00    0.00")) << lines[0];
    EXPECT_TRUE(lines[1].ends_with("23:59:59:00 00:00:01:00 00:02:00 00:00:02:00    3.02    3.02")) << lines[1];
    EXPECT_TRUE(lines[2].ends_with("00:04:00 00:00:06:00    6.04    9.06")) << lines[2];
    EXPECT_TRUE(lines[3].ends_with("00:04:00 00:00:06:00    6.04    9.06")) << lines[3];
    EXPECT_EQ(lines[4], "2 events in 4 lines, 00:00:06:00, 9.06 feet of 35mm film");

    const EditList list = readList("1 R V C 00:00:00:00 00:00:02:00 00:00:00:00 00:00:02:00").list;
    EXPECT_TRUE(rows(list, FILM_35MM_3PERF)[0].ends_with("2.08    2.08"));
}

TEST(EditListPrinter, totalsGoOnBeyondADay)
{
    std::string text;
    for (int i = 1; i <= 250000; ++i)
        text += std::to_string(i) + " R V C 00:00:00:00 11:59:59:00 00:00:00:00 11:59:59:00\n";
    const std::vector<std::string> lines = rows(readList(text).list);
    EXPECT_TRUE(lines[0].ends_with("11:59:59:00         11:59:59:00 67498.07 67498.07")) << lines[0];
    EXPECT_EQ(lines.back(), "250000 events in 250000 lines, 124997d 02:33:20:00, - feet of 35mm film");
}

TEST(EditListPrinter, remarksStandUnderTheirEdit)
{
    const std::vector<std::string> lines = rows(readList("1 R V C 00:00:00:00 00:00:01:01 00:00:00:00 00:00:01:00\n"
                                                         "AUD 3 4\n* NOTE\n"
                                                         "2 R V C 00:00:00:00 00:00:01:00 00:00:01:00 00:00:03:00\n"
                                                         "M2 R -012.5 00:00:00:24\n")
                                                    .list);
    ASSERT_EQ(lines.size(), 7u);
    EXPECT_EQ(lines[1], "    the source is 1 frame longer than the record");
    EXPECT_EQ(lines[2] + lines[3], "    audio on 3 4 too    * NOTE");
    EXPECT_EQ(lines[5], "    runs at -12.5 frames a second from 00:00:00:24");
}

} // namespace
