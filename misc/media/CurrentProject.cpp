#include "misc/media/CurrentProject.h"

#include "Mw/Assert.h"
#include "OS/Display.h"
#include "OS/OS.h"
#include "misc/diagnostics/QaSplat.h"

namespace Mw
{

namespace
{

ProjectState& state()
{
    return ProjectState::current();
}

void tellIf(bool notify, ProjectState::Aspect aspect)
{
    if (notify)
        state().tellListeners(aspect);
}

template <class T>
void change(SharedValue<T>& stored, const T& value, bool notify, ProjectState::Aspect aspect)
{
    if (stored.change(value))
        tellIf(notify, aspect);
}

FrameRate projectRateFor(FrameRate rate)
{
    switch (rate)
    {
    case FR24:
    case FR25:
    case FR30:
    case FR48:
    case FR50:
    case FR60:
        return rate;
    case FR30M:
        return FR30;
    case FR48M:
        return FR48;
    case FR60M:
        return FR60;
    default:
        return FR24;
    }
}

// Whether the rate is in a set that is told by the bits of a mask from its first rate on.
bool isInMask(FrameRate rate, FrameRate first, std::uint64_t mask)
{
    return rate >= first && rate - first < 64 && (mask >> (rate - first) & 1) != 0;
}

} // namespace

void CurrentProject::setFrameRate(FrameRate rate, bool notify)
{
    const FrameRate stored = projectRateFor(rate);
    if (stored != rate)
        qa_splat("Mw::CurrentProject: Set invalid frame rate\n", 8);
    state().frameRate_.set(stored);
    tellIf(notify, ProjectState::FrameRateAspect);
}

double CurrentProject::getFrameDuration()
{
    return Mw::getFrameDuration(getFrameRate());
}

double CurrentProject::getCelResolution()
{
    return Mw::getCelResolution(getFrameRate());
}

double CurrentProject::getFramesPerSecond()
{
    return Mw::getFramesPerSecond(getFrameRate());
}

std::uint8_t CurrentProject::getTicksPerSecond()
{
    return Mw::getTicksPerSecond(getFrameRate());
}

bool CurrentProject::has1001Factor()
{
    return Mw::has1001Factor(getFrameRate());
}

void CurrentProject::setInCameraFilmSpeed(FrameRate rate, bool notify)
{
    change(state().inCameraFilmSpeed_, rate, notify, ProjectState::InCameraFilmSpeedAspect);
}

PictureSettings CurrentProject::getOutputImageFormat(Revision revision)
{
    return revision == Revision::Revised ? state().revisedOutputImageFormat_.get() : state().outputImageFormat_.get();
}

void CurrentProject::setOutputImageFormat(const PictureSettings& format, bool notify)
{
    state().revisedOutputImageFormat_.set(format);
    const bool isChanged = state().outputImageFormat_.change(format);
    OS().display().setOutputImageFormat(format.outputFormat().videoFormatUID_);
    tellIf(isChanged && notify, ProjectState::OutputImageFormatAspect);
}

void CurrentProject::reviseOutputImageFormat(const PictureSettings& format)
{
    state().revisedOutputImageFormat_.set(format);
}

FrameRate CurrentProject::getOutputImageMwFrameRate()
{
    return getOutputImageFormat().outputFormat().frameRate();
}

bool CurrentProject::isInterlaced()
{
    return getOutputImageFormat().outputFormat().isInterlaced();
}

ImageSize::Size CurrentProject::getImageSize(ImageSize::Preset preset)
{
    return state().imageSizes_.sizeOf(preset, getOutputImageFormat().outputFormat());
}

double CurrentProject::getOutputSampleCelDuration()
{
    const PictureSettings settings = getOutputImageFormat();
    const FrameRate output = settings.outputFormat().frameRate();
    const FrameRate project = getFrameRate();
    const bool isDouble =
        (output == FR50 && project != FR50) || ((output == FR60 || output == FR60M) && project != FR60);
    const double cel = Mw::getCelResolution(project);
    return isDouble || settings.outputFormat().isInterlaced() ? cel / 2 : cel;
}

void CurrentProject::setUseDropFrameTimecode(bool dropFrame)
{
    state().useDropFrameTimecode_.set(dropFrame);
}

void CurrentProject::setOutputPulldown(bool pulledDown, bool notify)
{
    change(state().outputPulldown_, pulledDown, notify, ProjectState::OutputPulldownAspect);
}

void CurrentProject::setVidprojAudSyncPulldown(bool pulledDown, bool notify)
{
    change(state().vidprojAudSyncPulldown_, pulledDown, notify, ProjectState::VidprojAudSyncPulldownAspect);
}

Cookie CurrentProject::getCookie()
{
    return state().cookie_.get();
}

void CurrentProject::setCookie(const Cookie& cookie)
{
    state().cookie_.set(cookie);
}

void CurrentProject::setNewCookie(const Cookie& cookie)
{
    setCookie(cookie);
}

void CurrentProject::setAutoProjectFlag(bool isAuto)
{
    state().isAuto_.set(isAuto);
}

void CurrentProject::setStartedAsAutoProjectFlag(bool startedAsAuto)
{
    state().startedAsAuto_.set(startedAsAuto);
}

CurrentProject::Text CurrentProject::getViewLUT()
{
    return state().viewLUT_.text();
}

// The clients of the name find the switch as it is to be.
void CurrentProject::setViewLUT(const Text& name, bool enabled)
{
    state().viewLUTEnabled_.set(enabled);
    if (getViewLUT() != name)
        state().viewLUT_ = name;
}

ValServer<CurrentProject::Text>& CurrentProject::getViewLUTServer()
{
    return state().viewLUT_;
}

void CurrentProject::setViewLUTEnabled(bool enabled, bool notify)
{
    change(state().viewLUTEnabled_, enabled, notify, ProjectState::ViewLUTEnabledAspect);
}

CurrentProject::StereoMode CurrentProject::getStereoscopicPreviewMode(StereoTarget target)
{
    const auto found = state().stereoModes_.find(target);
    return found != state().stereoModes_.end() ? found->second.get() : StereoMode();
}

void CurrentProject::setStereoscopicPreviewMode(StereoTarget target, StereoMode mode, bool notify)
{
    const auto found = state().stereoModes_.find(target);
    if (found != state().stereoModes_.end())
        change(found->second, mode, notify, ProjectState::StereoscopicPreviewModeAspect);
}

void CurrentProject::outputQualityChange()
{
    state().tellListeners(ProjectState::OutputQualityAspect);
}

Ptr<Guard> CurrentProject::addListener(const Ptr<Listener>& listener)
{
    return state().addListener(listener);
}

int getMaxCurrentProjectSoftCutDuration()
{
    return static_cast<int>(CurrentProject::getFrameDuration() * 1000.0 - 5.0);
}

bool shotMwFrameRateIsCompatibleWithNewProject(FrameRate shot, FrameRate project)
{
    switch (project)
    {
    case FR25:
    case FR50:
        return isInPALSet(shot);
    case FR48:
        return shot == FR24 || shot == FR24M || shot == FR48 || shot == FR48M;
    // All but those from FR12_5 to FR100 that aren't FR20.
    case FR24:
        return !isInMask(shot, FR12_5, 119);
    // The rates of 30, 60, 15, 80, 90, 120 and 240.
    default:
        return isInMask(shot, FR30, 0xF6C00000063);
    }
}

bool isVariantFrameRateForProject(FrameRate rate)
{
    switch (rate)
    {
    case FRInvalid:
    case FR24:
    case FR24M:
    case FR25:
    case FR30:
    case FR30M:
    case FR50:
    case FR60:
    case FR60M:
        break;
    default:
        assertionFailed("false", "misc/ProjectState line 964");
    }
    return false;
}

void issueProductChangeNotification(const LightweightString<wchar_t>& text)
{
    state().productChange_ = text;
}

Ptr<Guard>
registerForProductChangeNotification(const Ptr<iCallbackBase<int, NotifierEvent<LightweightString<wchar_t>>>>& callback)
{
    return state().productChange_.registerNotification(callback, ValServerBase::valChangedMsgType_);
}

} // namespace Mw

void OutputFormat::validateProjectSettings()
{
    const Mw::FrameRate project = Mw::CurrentProject::getFrameRate();
    if (isOutputFormatAllowedForProjectFrameRate(Mw::CurrentProject::getOutputImageFormat().outputFormat(), project))
        return;
    std::vector<unsigned> permitted;
    getAllowedOutputFormatsForProjectFrameRate(project, permitted);
    if (!permitted.empty())
        Mw::CurrentProject::setOutputImageFormat(getFormat(permitted.front()), true);
}
