#include "misc/media/CurrentProject.h"

#include "OS/Display.h"
#include "OS/testing/TestDesktop.h"
#include "media/AssertionLines.h"
#include "misc/settings/RegistryConfig.h"
#include "platform/ThreadSupport.h"

#include <algorithm>
#include <atomic>
#include <gtest/gtest.h>

using namespace Mw;

namespace
{

using Details = OutputFormat::Details;
using WideText = LightweightString<wchar_t>;

// A project of its own in each case, whatever the case before left: at 25, with the first format.
struct CurrentProjectTest : testing::Test
{
    CurrentProjectTest()
    {
        CurrentProject::setFrameRate(FR25, false);
        CurrentProject::setOutputImageFormat(OutputFormat::getFormat(0), false);
        guard_ = CurrentProject::addListener(listener_);
    }

    // What the listener has been told since the last call.
    std::vector<unsigned> told() { return std::exchange(told_, {}); }

    int listen(const NotifierEvent<unsigned>& event)
    {
        EXPECT_EQ(event.type, NotifyMsgTypeDictionary::anyType);
        told_.push_back(event.value);
        return 0;
    }

    std::vector<unsigned> told_;
    const Ptr<CurrentProject::Listener> listener_{new MethodCallback(this, &CurrentProjectTest::listen)};
    Ptr<Guard> guard_;
};

} // namespace

TEST_F(CurrentProjectTest, tellsItsListenersWhatChangedAndNothingElse)
{
    using namespace eStereoPreviewModes;
    using Aspects = std::vector<unsigned>;
    const std::pair<unsigned, void (*)(bool, bool)> switches[] = {
        {2, [](bool on, bool tell) { CurrentProject::setFrameRate(on ? FR50 : FR24, tell); }},
        {4, [](bool on, bool tell) { CurrentProject::setOutputImageFormat(OutputFormat::getFormat(on), tell); }},
        {8, CurrentProject::setOutputPulldown},
        {16, CurrentProject::setVidprojAudSyncPulldown},
        {32, [](bool on, bool tell) { CurrentProject::setInCameraFilmSpeed(on ? FR48M : FR12_5, tell); }},
        {64, CurrentProject::setViewLUTEnabled},
        {128,
         [](bool on, bool tell) { CurrentProject::setStereoscopicPreviewMode({}, on ? eAnaglyph : eLeftEye, tell); }}};
    for (const auto& [aspect, set] : switches)
        set(false, false);
    EXPECT_EQ(told(), Aspects{});
    for (const auto& [aspect, set] : switches)
    {
        set(true, true);
        EXPECT_EQ(told(), Aspects{aspect});
    }
    for (const auto& [aspect, set] : switches)
    {
        set(true, true);
        EXPECT_EQ(told(), aspect == 2 ? Aspects{2} : Aspects{}) << aspect;
    }
    CurrentProject::outputQualityChange();
    EXPECT_EQ(told(), Aspects{1});
    CurrentProject::reviseOutputImageFormat(OutputFormat::getFormat(5));
    EXPECT_FALSE(CurrentProject::getOutputImageFormat() == OutputFormat::getFormat(5));
    EXPECT_TRUE(CurrentProject::getOutputImageFormat(ProjectState::Revised) == OutputFormat::getFormat(5));
    EXPECT_EQ(told(), Aspects{});
}

TEST_F(CurrentProjectTest, takesProjectRatesAlone)
{
    const std::vector<FrameRate> projectRates = getProjectFrameRates();
    for (int rate = -1; rate < 50; ++rate)
    {
        AssertionLines lines;
        CurrentProject::setFrameRate(FrameRate(rate), true);
        const bool isValid = std::count(projectRates.begin(), projectRates.end(), rate) != 0;
        const bool isSlowed = rate == FR30M || rate == FR48M || rate == FR60M;
        EXPECT_EQ(CurrentProject::getFrameRate(), isValid ? rate : isSlowed ? rate - 1 : FR24) << rate;
        EXPECT_EQ(lines.text().find("Mw::CurrentProject: Set invalid frame rate\n") != std::string::npos, !isValid);
    }
}

TEST_F(CurrentProjectTest, derivesDurationsAndBringsItsFormatToItsRate)
{
    for (const auto& [project, ms] : {std::pair(FR24, 36), {FR25, 35}, {FR30, 28}, {FR48, 15}, {FR50, 15}, {FR60, 11}})
        for (unsigned i = 0; i < OutputFormat::getNumFormats(); ++i)
        {
            const Details& format = OutputFormat::getFormat(i);
            CurrentProject::setFrameRate(project, false);
            CurrentProject::setOutputImageFormat(format, false);
            EXPECT_EQ(getMaxCurrentProjectSoftCutDuration(), ms);
            const int ticks = getTicksPerSecond(format.frameRate());
            const bool isFast = ticks > 48 && ticks != CurrentProject::getTicksPerSecond();
            EXPECT_EQ(CurrentProject::getOutputSampleCelDuration(),
                      CurrentProject::getFrameDuration() / (isFast || CurrentProject::isInterlaced() ? 2 : 1));

            OutputFormat::validateProjectSettings();
            std::vector<unsigned> permitted;
            OutputFormat::getAllowedOutputFormatsForProjectFrameRate(project, permitted);
            const bool stays = std::count(permitted.begin(), permitted.end(), i) != 0;
            const Details& wanted = stays ? format : OutputFormat::getFormat(permitted.front());
            for (const auto revision : {ProjectState::Current, ProjectState::Revised})
                EXPECT_TRUE(CurrentProject::getOutputImageFormat(revision) == wanted);
            EXPECT_EQ(OS().display().getOutputImageFormat(), wanted.videoFormatUID_);
            EXPECT_EQ(told(), stays ? std::vector<unsigned>{} : std::vector<unsigned>{4});
        }
}

TEST(ProjectRates, shotsThatGoIntoAProject)
{
    const std::pair<FrameRate, std::vector<int>> shotsOf[] = {{FR25, {3, 8, 28, 43}},
                                                              {FR50, {3, 8, 28, 43}},
                                                              {FR48, {1, 2, 6, 7}},
                                                              {FR30, {4, 5, 9, 10, 38, 39, 41, 42, 44, 45, 46, 47}}};
    for (const auto& [project, shots] : shotsOf)
        for (int shot = -70; shot < 130; ++shot)
            EXPECT_EQ(shotMwFrameRateIsCompatibleWithNewProject(FrameRate(shot), project),
                      std::ranges::count(shots, shot) == 1)
                << shot << " in " << project;
    AssertionLines lines;
    EXPECT_FALSE(isVariantFrameRateForProject(FR60M) || isVariantFrameRateForProject(FR48));
    EXPECT_EQ(lines.text(), "assertion failed false at misc/ProjectState line 964\n");
}

TEST(ProjectState, beginsAsTheSettingsHaveItWithPicturesOfTheirSizes)
{
    using namespace ImageSize;
    TestDesktop desktop;
    const OSReplacement<iDesktop> replaced(desktop);
    for (const auto& [machine, rate] : {std::pair("pal", FR25), {"ntsc", FR30}, {"ntsc and much more than that", FR25}})
    {
        GlobalConfig().setValue("machine_type", machine, "");
        const ProjectState state;
        EXPECT_EQ(state.frameRate_.get(), rate) << machine;
        EXPECT_TRUE(state.outputImageFormat_.get() == OutputFormat::getFormat(rate == FR30 ? 2 : 0));
    }

    GlobalConfig().setValue("small_tile_height", 180, "");
    GlobalConfig().setValue("small_viewer_width", 1440, "");
    GlobalConfig().setValue("large_viewer_width", 2000000000, ""); // more than anybody could show
    const Presets presets;
    EXPECT_EQ(presets.sizeOf(ISPSmallThumb, OutputFormat::getFormat(12)), (Size{320, 180}));
    EXPECT_EQ(presets.sizeOf(ISPSmall, OutputFormat::getFormat(25)), (Size{1440, 603}));
    for (const char* const stored : {"1|0|2147483647|1|8|4|3|1", "1|0|1|2147483647|8|4|3|1", "1|0|0|-1|8|4|3|1", ""})
        for (const Preset preset : {ISPSmallThumb, ISPLarge})
        {
            const auto [width, height] = presets.sizeOf(preset, Details(stored));
            EXPECT_TRUE(std::min(width, height) > 0 && std::max(width, height) <= 1 << 17) << stored;
        }
}

TEST(ProjectState, tellsTextsToThoseWhoFollowThem)
{
    struct Reader : iCallbackBase<int, NotifierEvent<WideText>>
    {
        int execute(const NotifierEvent<WideText>& event) override
        {
            texts.push_back(event.value);
            return 0;
        }
        std::vector<WideText> texts;
    };
    const auto reader = makePtr<Reader>();
    Ptr<Guard> guard = CurrentProject::getViewLUTServer().registerNotification(reader);
    CurrentProject::setViewLUT(L"soft", true);
    CurrentProject::setViewLUT(L"soft", false);
    guard = registerForProductChangeNotification(reader);
    for (int time = 0; time < 2; ++time)
        issueProductChangeNotification(L"upgraded");
    EXPECT_EQ(reader->texts, (std::vector<WideText>{L"soft", L"upgraded", L"upgraded"}));
}

// Two threads set, two read: whoever reads finds one of the values whole.
TEST(ProjectState, isReadWholeWhileItIsSet)
{
    const PictureSettings formats[] = {OutputFormat::getFormat(0), OutputFormat::getFormat(24)};
    CurrentProject::setOutputImageFormat(formats[0], true);
    std::atomic<bool> isOver{false};
    const auto write = [&]
    {
        for (int round = 0; round < 2000; ++round)
            CurrentProject::setOutputImageFormat(formats[round % 2], true);
        isOver = true;
    };
    const auto read = [&]
    {
        do
            EXPECT_EQ(std::ranges::count(formats, CurrentProject::getOutputImageFormat()), 1);
        while (!isOver);
    };
    test::Runner runners[] = {test::Runner(write), test::Runner(write), test::Runner(read), test::Runner(read)};
}
