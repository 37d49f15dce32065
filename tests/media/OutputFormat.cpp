#include "misc/media/OutputFormat.h"

#include "libmw/Text.h"
#include "media/AssertionLines.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

namespace
{

using Details = OutputFormat::Details;

// The rule told once more, by what rates are: numbers of ticks and the sets that they belong to.
bool isPermitted(OutputFormat::Type type, Mw::FrameRate output, Mw::FrameRate project)
{
    using namespace Mw;
    const int ticks = getTicksPerSecond(output);
    if (project == FR48 || project == FR48M)
        return (ticks != 25 && ticks != 30) || (type != OutputFormat::SevenTwentyP &&
                                                type != OutputFormat::TenEightyP && type != OutputFormat::TenEightyPsf);
    if (!isInFrameRateGroup(project, FrameRateGroups::Normal) || has1001Factor(project))
        return true;
    if (project == FR24)
        return ticks != 48;
    const int step = isInPALSet(project) ? 25 : 30;
    return ticks % step == 0 && !(project == FR60 && output == FR30);
}

} // namespace

TEST(OutputFormat, readsBackWhatItStoresOfEveryFormat)
{
    const AssertionLines lines;
    std::ostringstream stored; // each with the UID of its type
    for (unsigned i = 0; i < OutputFormat::getNumFormats(); ++i)
    {
        const Details& format = OutputFormat::getFormat(i);
        EXPECT_TRUE(Details(format.getPersistableString()) == format) << i;
        stored << format.getPersistableString().c_str() << ' ' << format.videoFormatUID_ << ';';
    }
    EXPECT_EQ(stored.str(),
              "1|0|720|576|8|1|3|1|4:3 3;1|0|720|576|8|2|3|1|16:9 3;2|0|720|486|8|1|5|2|4:3 15;"
              "2|0|720|486|8|2|5|2|16:9 15;3|0|1280|720|8|2|2|3|23.98fps 27;3|0|1280|720|8|2|1|3|24fps 27;"
              "3|0|1280|720|8|2|3|3|25fps 27;3|0|1280|720|8|2|8|3|50fps 27;3|0|1280|720|8|2|10|3|59.94fps 27;"
              "3|0|1280|720|8|2|9|3|60.0fps 27;3|0|1280|720|8|2|5|3|29.97fps 27;3|0|1280|720|8|2|4|3|30.0fps 27;"
              "4|0|1920|1080|8|2|3|1|25fps 28;4|0|1920|1080|8|2|5|1|29.97fps 28;4|0|1920|1080|8|2|4|1|30fps 28;"
              "6|0|1920|1080|8|2|2|4|23.98fps 28;6|0|1920|1080|8|2|1|4|24fps 28;6|0|1920|1080|8|2|3|4|25fps 28;"
              "6|0|1920|1080|8|2|5|4|29.97fps 28;6|0|1920|1080|8|2|4|4|30fps 28;6|0|1920|1080|8|2|6|4|48fps 28;"
              "5|0|1920|1080|8|2|8|3|50fps 28;5|0|1920|1080|8|2|10|3|59.94fps 28;7|0|2048|1536|8|4|1|4|24fps 110;"
              "8|0|1828|1332|8|5|1|4|24fps 111;9|0|2048|858|8|8|1|4|24fps 112;10|0|1998|1080|8|7|1|4|24fps 113;"
              "11|0|3840|2160|8|2|2|4|23.98fps 73;11|0|3840|2160|8|2|1|4|24fps 73;11|0|3840|2160|8|2|3|4|25fps 73;"
              "11|0|3840|2160|8|2|5|4|29.97fps 73;");
    EXPECT_EQ(OutputFormat::getFormat(25).getDisplayString(), L"2k DCI 2.39:1 24fps");
    EXPECT_EQ(&OutputFormat::getFormat(31), &OutputFormat::getFormat(0));
}

TEST(OutputFormat, isPermittedByTheRateOfTheProject)
{
    for (int number = -1; number < 50; ++number)
    {
        const auto project = Mw::FrameRate(number);
        std::vector<unsigned> found{99};
        OutputFormat::getAllowedOutputFormatsForProjectFrameRate(project, found);
        EXPECT_TRUE(!found.empty() && std::ranges::is_sorted(found));
        for (unsigned i = 0; i < OutputFormat::getNumFormats(); ++i)
        {
            const Details& format = OutputFormat::getFormat(i);
            EXPECT_EQ(std::ranges::count(found, i), isPermitted(format.type_, format.frameRate(), project)) << i;
        }
    }
}

TEST(OutputFormat, readsTextsOfEveryForm)
{
    const std::tuple<const char*, int, const wchar_t*> cases[] = {
        {"1|0|720|576|8|1|3|1", 1, L""},           {"1|0|720|576|8|1|3|1|two words|7", 7, L"two words"},
        {"9|0|720|576|8|1|3|1|a|b", 9, L"a"},      {" 1| +0|720|576|8|1|3|1|\xC3\xA9", 1, L"\u00E9"},
        {"16|0|720|576|8|1|3|1|x", 16, L"x"},      {"1|0|720|576|8|1|3|", 0, L""},
        {"1|0|99999999999|576|8|1|3|1|x", 0, L""}, {"1|0|+-720|576|8|1|3|1|x", 0, L""},
    };
    Details format;
    for (const auto& [text, type, qualifier] : cases)
    {
        format.fromPersistableString(text);
        EXPECT_TRUE(format.type_ == type && format.qualifier_ == qualifier) << text;
        EXPECT_EQ(format.width_, type == 0 ? 0 : 720) << text;
        EXPECT_EQ(format.isVideoDataSet_, type != 0) << text;
        EXPECT_EQ(format.valid(), type >= 1 && type <= 15) << text;
        EXPECT_EQ(format.videoFormatUID_ != 0, format.valid()) << text;
    }

    // What is read of a text that was damaged in any one byte, or cut, is stored and read back as it is.
    const LightweightString<char> text = OutputFormat::getFormat(25).getPersistableString();
    for (unsigned at = 0; at < text.length(); ++at)
        for (const char byte : {'|', '-', '9', ' ', '\0', '\xE2'})
        {
            LightweightString<char> damaged(text);
            damaged.writable()[at] = byte;
            for (const Details& read : {Details(damaged), Details(text.substr(0, at))})
                EXPECT_TRUE(!read.valid() || Details(read.getPersistableString()) == read) << damaged;
        }

    // 21 bytes stand before the qualifier, which leaves room for 58: the last character would be cut in half.
    format.fromPersistableString("12|0|720|576|8|1|3|1|x");
    format.qualifier_ = L"x" + LightweightString<wchar_t>(60, L'\u00E9');
    EXPECT_EQ(Details(format.getPersistableString()).qualifier_, L"x" + LightweightString<wchar_t>(28, L'\u00E9'));
}
