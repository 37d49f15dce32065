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
class CurrentProjectTest : public testing::Test
{
protected:
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

private:
    std::vector<unsigned> told_;
    const Ptr<CurrentProject::Listener> listener_{new MethodCallback(this, &CurrentProjectTest::listen)};
    Ptr<Guard> guard_;
};

using namespace eStereoOutputTargets;
using namespace eStereoPreviewModes;

const struct Switch
{
    unsigned aspect;
    void (*set)(bool on, bool notify);
    bool (*isOn)();
} switches[] = {
    {2, [](bool on, bool notify) { CurrentProject::setFrameRate(on ? FR50 : FR24, notify); },
     [] { return CurrentProject::getFrameRate() == FR50; }},
    {4, [](bool on, bool notify) { CurrentProject::setOutputImageFormat(OutputFormat::getFormat(on ? 6 : 7), notify); },
     [] { return CurrentProject::getOutputImageMwFrameRate() == FR25; }},
    {8, CurrentProject::setOutputPulldown, CurrentProject::outputFormatIsPulledDown},
    {16, CurrentProject::setVidprojAudSyncPulldown, CurrentProject::vidprojAudSyncIsPulledDown},
    {32, [](bool on, bool notify) { CurrentProject::setInCameraFilmSpeed(on ? FR48M : FR12_5, notify); },
     [] { return CurrentProject::getInCameraFilmSpeed() == FR48M; }},
    {64, CurrentProject::setViewLUTEnabled, CurrentProject::getViewLUTEnabled},
    {128,
     [](bool on, bool notify)
     { CurrentProject::setStereoscopicPreviewMode(eFullScreen, on ? eAnaglyph : eLeftEye, notify); },
     [] { return CurrentProject::getStereoscopicPreviewMode(eFullScreen) == eAnaglyph; }},
};

} // namespace

TEST_F(CurrentProjectTest, tellsItsListenersWhatChangedAndNothingElse)
{
    using Aspects = std::vector<unsigned>;
    for (const Switch& some : switches)
    {
        some.set(false, false);
        some.set(true, false);
        EXPECT_TRUE(some.isOn()) << some.aspect;
        EXPECT_EQ(told(), Aspects{}) << some.aspect;
        some.set(false, true);
        EXPECT_FALSE(some.isOn()) << some.aspect;
        EXPECT_EQ(told(), Aspects{some.aspect});
        some.set(false, true);
        EXPECT_EQ(told(), some.aspect == 2 ? Aspects{2} : Aspects{}) << some.aspect;
    }
    CurrentProject::outputQualityChange();
    EXPECT_EQ(told(), Aspects{1});

    CurrentProject::setStereoscopicPreviewMode(CurrentProject::StereoTarget(9), eAnaglyph, true);
    CurrentProject::setUseDropFrameTimecode(true);
    CurrentProject::setNewCookie(video_black);
    CurrentProject::setAutoProjectFlag(true);
    CurrentProject::setStartedAsAutoProjectFlag(true);
    CurrentProject::reviseOutputImageFormat(OutputFormat::getFormat(5));
    EXPECT_TRUE(CurrentProject::getUseDropFrameTimecode() && CurrentProject::isAutoProject() &&
                CurrentProject::startedAsAutoProject() && CurrentProject::getCookie() == video_black);
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
        EXPECT_EQ(told(), std::vector<unsigned>{2});
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
            EXPECT_EQ(CurrentProject::getCelResolution(), 1.0 / CurrentProject::getFramesPerSecond());
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
    for (int project = -1; project < 50; ++project)
        for (int shot = -70; shot < 130; ++shot)
        {
            const auto isAmong = [shot](const std::vector<int>& rates)
            { return std::count(rates.begin(), rates.end(), shot) != 0; };
            const bool isCompatible = project == FR24                      ? !isAmong({37, 38, 39, 41, 42, 43})
                                      : project == FR25 || project == FR50 ? isAmong({3, 8, 28, 43})
                                      : project == FR48                    ? isAmong({1, 2, 6, 7})
                                                        : isAmong({4, 5, 9, 10, 38, 39, 41, 42, 44, 45, 46, 47});
            EXPECT_EQ(shotMwFrameRateIsCompatibleWithNewProject(FrameRate(shot), FrameRate(project)), isCompatible)
                << shot << " in " << project;
        }
    for (int rate = -1; rate < 50; ++rate)
    {
        AssertionLines lines;
        EXPECT_FALSE(isVariantFrameRateForProject(FrameRate(rate)));
        const bool isKnown = rate >= 0 && rate <= 10 && rate != 6 && rate != 7;
        EXPECT_EQ(lines.text(), isKnown ? "" : "assertion failed false at misc/ProjectState line 964\n") << rate;
    }
}

TEST(ProjectState, beginsAsTheSettingsHaveItWithPicturesOfTheirSizes)
{
    using namespace ImageSize;
    TestDesktop desktop;
    const OSReplacement<iDesktop> replaced(desktop);
    EXPECT_EQ(ProjectState().frameRate_.get(), FR25);
    for (const auto& [machine, rate] : {std::pair("pal", FR25), {"ntsc", FR30}, {"ntsc and much more than that", FR25}})
    {
        GlobalConfig().setValue("machine_type", machine, "");
        const ProjectState state;
        EXPECT_EQ(state.frameRate_.get(), rate) << machine;
        EXPECT_TRUE(state.outputImageFormat_.get() == OutputFormat::getFormat(rate == FR30 ? 2 : 0));
    }

    const char* const keys[] = {"small_tile_height",  "large_tile_height",   "huge_tile_height",
                                "small_viewer_width", "medium_viewer_width", "large_viewer_width"};
    int extent = 90;
    for (const char* const key : keys)
        GlobalConfig().setValue(key, extent *= 2, "");
    const Presets presets;
    const Details& wide = OutputFormat::getFormat(12);
    EXPECT_EQ(presets.sizeOf(ISPSmallThumb, wide), (Size{320, 180}));
    EXPECT_EQ(presets.sizeOf(ISPLarge, wide), (Size{5760, 3240}));
    EXPECT_EQ(presets.sizeOf(ISPSmall, OutputFormat::getFormat(25)), (Size{1440, 603}));
    EXPECT_EQ(presets.sizeOf(ISPUnscaled, OutputFormat::getFormat(25)), (Size{2048, 858}));
    for (const int none : {-1, int(ISPInvalid), 8})
        EXPECT_EQ(presets.sizeOf(Preset(none), wide), Size());

    // Nothing that a setting or a stored format says makes a size that nobody could show.
    for (const char* const key : keys)
        GlobalConfig().setValue(key, 2000000000, "");
    for (const char* const text : {"1|0|2147483647|1|8|4|3|1", "1|0|1|2147483647|8|4|3|1", "1|0|0|-1|8|4|3|1", ""})
        for (int preset = 0; preset < ISPUnscaled; ++preset)
        {
            const auto [width, height] = Presets().sizeOf(Preset(preset), Details(text));
            EXPECT_TRUE(std::min(width, height) > 0 && std::max(width, height) <= 1 << 17) << text;
        }

    for (int preset = -1; preset <= 8; ++preset)
        EXPECT_EQ(getPresetFromPersistableString(getPersistableString(Preset(preset))),
                  preset >= 0 && preset < 8 ? preset : ISPInvalid);
    EXPECT_EQ(getPersistableString(ISPHugeThumb), "ISPHugeThumb");
    for (const char* const text : {"", "ISP", "ISPSmallThumb ", "ispsmall"})
        EXPECT_EQ(getPresetFromPersistableString(text), ISPInvalid) << text;
}

namespace
{

struct Reader
{
    std::vector<WideText> told;

    int read(const NotifierEvent<WideText>& event)
    {
        told.push_back(event.value);
        if (event.value == L"sharp")
            CurrentProject::setViewLUT(L"sharper", CurrentProject::getViewLUTEnabled());
        return 0;
    }
};

} // namespace

TEST(ProjectTexts, areToldToThoseWhoFollowThem)
{
    Reader reader;
    const Ptr<iCallbackBase<int, NotifierEvent<WideText>>> callback(new MethodCallback(&reader, &Reader::read));
    Ptr<Guard> guard = CurrentProject::getViewLUTServer().registerNotification(callback);
    CurrentProject::setViewLUT(L"soft", true);
    CurrentProject::setViewLUT(L"soft", false);
    EXPECT_FALSE(CurrentProject::getViewLUTEnabled());
    CurrentProject::setViewLUT(L"sharp", true);
    EXPECT_EQ(reader.told, (std::vector<WideText>{L"soft", L"sharp", L"sharper"}));
    EXPECT_TRUE(CurrentProject::getViewLUT() == L"sharper" && CurrentProject::getViewLUTEnabled());

    guard = registerForProductChangeNotification(callback);
    issueProductChangeNotification(L"upgraded");
    issueProductChangeNotification(L"upgraded");
    guard.reset();
    issueProductChangeNotification(L"gone");
    EXPECT_EQ(reader.told.size(), 5u);
    EXPECT_EQ(&CurrentProject::getLicenseChangeServer(), &getLicenseChangeServer());
}

// Two threads set, two read: whoever reads finds one of the values whole.
TEST(ProjectState, isReadWholeWhileItIsSet)
{
    const Details formats[] = {OutputFormat::getFormat(0), OutputFormat::getFormat(24)};
    const WideText names[] = {WideText(600, L'a'), WideText(500, L'b')};
    const auto set = [&](int which)
    {
        CurrentProject::setOutputImageFormat(formats[which], true);
        CurrentProject::setViewLUT(names[which], which != 0);
    };
    set(0);
    std::atomic<bool> isOver{false};
    const auto write = [&]
    {
        for (int round = 0; round < 2000; ++round)
            set(round % 2);
        isOver = true;
    };
    const auto read = [&]
    {
        do
        {
            const PictureSettings format = CurrentProject::getOutputImageFormat();
            EXPECT_TRUE(format == formats[0] || format == formats[1]);
            const WideText name = CurrentProject::getViewLUT();
            EXPECT_TRUE(name == names[0] || name == names[1]);
        } while (!isOver);
    };
    test::Runner runners[] = {test::Runner(write), test::Runner(write), test::Runner(read), test::Runner(read)};
}
