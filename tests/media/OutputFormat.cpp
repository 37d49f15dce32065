#include "misc/media/OutputFormat.h"

#include "media/AssertionLines.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <iterator>
#include <map>

namespace
{

using Details = OutputFormat::Details;
using Indices = std::vector<unsigned>;

Indices allBut(const Indices& left)
{
    Indices rest;
    for (unsigned i = 0; i < OutputFormat::getNumFormats(); ++i)
        if (std::find(left.begin(), left.end(), i) == left.end())
            rest.push_back(i);
    return rest;
}

} // namespace

TEST(OutputFormat, readsBackWhatItStoresOfEveryFormat)
{
    ASSERT_EQ(OutputFormat::getNumFormats(), 31u);
    const AssertionLines lines;
    for (unsigned i = 0; i < OutputFormat::getNumFormats(); ++i)
    {
        const Details& format = OutputFormat::getFormat(i);
        EXPECT_TRUE(format.valid());
        EXPECT_EQ(&format, OutputFormat::getSupportedFormats() + i);
        EXPECT_TRUE(Details(format.getPersistableString()) == format) << i;
        EXPECT_EQ(format.isInterlaced(), i < 4 || (i >= 12 && i <= 14)) << i;
        for (unsigned j = 0; j < i; ++j)
            EXPECT_FALSE(format == OutputFormat::getFormat(j)) << i << " and " << j;
    }
    EXPECT_EQ(OutputFormat::getFormat(12).getPersistableString(), "4|0|1920|1080|8|2|3|1|25fps");
    EXPECT_EQ(OutputFormat::getFormat(25).getDisplayString(), L"2k DCI 2.39:1 24fps");
    EXPECT_EQ(OutputFormat::getFormat(25).videoFormatUID_, 112);
    EXPECT_TRUE(OutputFormat::isSD(OutputFormat::Ntsc) && !OutputFormat::isSD(OutputFormat::SevenTwentyP));
    EXPECT_EQ(OutputFormat::getDisplayString(OutputFormat::FourKDci185), L"4k DCI 1.85:1");
}

TEST(OutputFormat, isPermittedByTheRateOfTheProject)
{
    // Others permit all.
    const std::map<int, Indices> permitted = {
        {Mw::FR24, allBut({20})},
        {Mw::FR25, {0, 1, 6, 7, 12, 17, 21, 29}},
        {Mw::FR50, {0, 1, 6, 7, 12, 17, 21, 29}},
        {Mw::FR30, {2, 3, 8, 9, 10, 11, 13, 14, 18, 19, 22, 30}},
        {Mw::FR48, allBut({6, 10, 11, 17, 18, 19})},
        {Mw::FR48M, allBut({6, 10, 11, 17, 18, 19})},
        {Mw::FR60, {2, 3, 8, 9, 10, 13, 18, 22, 30}},
    };
    for (int project = -1; project < 50; ++project)
    {
        Indices found{99};
        OutputFormat::getAllowedOutputFormatsForProjectFrameRate(Mw::FrameRate(project), found);
        const auto row = permitted.find(project);
        EXPECT_EQ(found, row != permitted.end() ? row->second : allBut({})) << project;

        const bool isLimited = row != permitted.end() && project != Mw::FR48 && project != Mw::FR48M;
        for (const int output : {-1, 0, 11, 31, 32, 47})
            EXPECT_EQ(
                OutputFormat::isOutputRateAllowedForProjectFrameRate(Mw::FrameRate(output), Mw::FrameRate(project)),
                !isLimited)
                << output << " in " << project;
    }
}

TEST(OutputFormat, readsTextsOfEveryForm)
{
    const struct
    {
        const char* text;
        int type;
        const wchar_t* qualifier;
    } cases[] = {
        {"1|0|720|576|8|1|3|1|4:3", 1, L"4:3"},
        {"1|0|720|576|8|1|3|1", 1, L""},
        {"1|0|720|576|8|1|3|1|", 1, L""},
        {"1|0|720|576|8|1|3|1|two words|7", 7, L"two words"},
        {"9|0|720|576|8|1|3|1||7", 7, L""},
        {"9|0|720|576|8|1|3|1|a|b", 9, L"a"},
        {" 1| +0|720|576|8|1|3|1|\xC3\xA9", 1, L"\u00E9"},
        {"16|0|720|576|8|1|3|1|x", 16, L"x"},
        {"1|0|720|576|8|1|3", 0, L""},
        {"1|0|720|576|8|1|3|", 0, L""},
        {"1|0|720|576 |8|1|3|1|x", 0, L""},
        {"1|0|99999999999|576|8|1|3|1|x", 0, L""},
        {"1|0|+-720|576|8|1|3|1|x", 0, L""},
        {"", 0, L""},
    };
    Details format;
    for (const auto& wanted : cases)
    {
        format.fromPersistableString(wanted.text);
        EXPECT_EQ(format.type_, wanted.type) << wanted.text;
        EXPECT_EQ(format.qualifier_, wanted.qualifier) << wanted.text;
        EXPECT_EQ(format.valid(), wanted.type >= 1 && wanted.type <= 15) << wanted.text;
        EXPECT_EQ(format.width_, wanted.type == 0 ? 0 : 720) << wanted.text;
        EXPECT_EQ(format.isVideoDataSet_, wanted.type != 0) << wanted.text;
        EXPECT_EQ(format.videoFormatUID_ != 0, format.valid()) << wanted.text;
    }

    // 21 bytes stand before the qualifier, which leaves room for 29 characters of two; behind one byte more the last
    // would be cut in half.
    format.fromPersistableString("12|0|720|576|8|1|3|1|x");
    format.qualifier_ = LightweightString<wchar_t>(60, L'\u00E9');
    const LightweightString<char> cut = format.getPersistableString();
    EXPECT_EQ(cut.length(), 21u + 2 * 29);
    EXPECT_EQ(Details(cut).qualifier_, LightweightString<wchar_t>(29, L'\u00E9'));
    format.qualifier_ = LightweightString<wchar_t>(L"x") + format.qualifier_;
    EXPECT_EQ(Details(format.getPersistableString()).qualifier_.length(), 29u);
}

TEST(OutputFormat, assertsWhatDoesNotGoTogether)
{
    AssertionLines lines;
    Details format = OutputFormat::getFormat(0);
    format.scanMode_ = Mw::Image::ScanMode::Progressive;
    EXPECT_FALSE(format.isInterlaced());
    format.type_ = OutputFormat::UltraHD;
    format.scanMode_ = Mw::Image::ScanMode::InterlacedLowerFirst;
    EXPECT_TRUE(format.isInterlaced());
    EXPECT_EQ(&OutputFormat::getFormat(31), &OutputFormat::getFormat(0));
    std::size_t at = 0;
    for (const char* const condition : {"type_ != Pal && type_ != Ntsc && type_ != TenEightyI",
                                        "type_ == Pal || type_ == Ntsc || type_ == TenEightyI", "false"})
    {
        at = lines.text().find(std::string("assertion failed ") + condition + " at misc/OutputFormat line ", at);
        ASSERT_NE(at, std::string::npos) << lines.text();
    }
}
