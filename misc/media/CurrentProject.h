#pragma once

#include "misc/media/ProjectState.h"
#include "misc/notify/LicenseChange.h"

// The project that is open now.

namespace Mw
{

// Its edit rate, its output format and its switches. A setter stores its value and, with `notify`, tells the
// listeners which aspect has changed; apart from setFrameRate they do nothing if the value is what it was.
//
// Any thread may read; one that sets, sets what the others see as the old value or the new one. Listeners are called
// on the setting thread, in order of registration. The state is made at the first call, and there for static objects.
class MISC_API CurrentProject
{
public:
    using Revision = ProjectState::Revision;
    using Listener = ProjectState::Listener;
    using Text = LightweightString<wchar_t>;
    using StereoTarget = eStereoOutputTargets::eStereoOutputTarget;
    using StereoMode = eStereoPreviewModes::eStereoPreviewMode;

    // The edit rate, which both revisions have in common: one of Mw::getProjectFrameRates(). Setting a rate that is
    // none of these is a fault for qa_splat, and sets FR30, FR48 and FR60 in place of theirs with the factor of
    // 1000/1001, FR24 in place of all others. Setting tells the listeners also of an equal rate.
    static FrameRate getFrameRate(Revision = Revision::Current) { return ProjectState::current().frameRate_.get(); }
    static void setFrameRate(FrameRate rate, bool notify);

    // What follows from the edit rate, as in misc/media/FrameRate.h.
    static double getFrameDuration();
    static double getCelResolution();
    static double getFramesPerSecond();
    static std::uint8_t getTicksPerSecond();
    static bool has1001Factor();

    // The rate at which the camera ran.
    static FrameRate getInCameraFilmSpeed() { return ProjectState::current().inCameraFilmSpeed_.get(); }
    static void setInCameraFilmSpeed(FrameRate rate, bool notify);

    // Setting makes the format both revisions', and passes its video format UID on to OS().display(), also if it is
    // equal. Revising prepares a change: it stores the revised one alone and tells nobody.
    static PictureSettings getOutputImageFormat(Revision revision = Revision::Current);
    static void setOutputImageFormat(const PictureSettings& format, bool notify);
    static void reviseOutputImageFormat(const PictureSettings& format);

    // What follows from the current output format.
    static FrameRate getOutputImageMwFrameRate();
    static bool isInterlaced();
    static ImageSize::Size getImageSize(ImageSize::Preset preset);

    // The seconds for which one picture of the output stands: half the project's where the output is interlaced, or
    // runs at 50 or 60 and the project doesn't.
    static double getOutputSampleCelDuration();

    static bool getUseDropFrameTimecode() { return ProjectState::current().useDropFrameTimecode_.get(); }
    static void setUseDropFrameTimecode(bool dropFrame);

    static bool outputFormatIsPulledDown() { return ProjectState::current().outputPulldown_.get(); }
    static void setOutputPulldown(bool pulledDown, bool notify);
    static bool vidprojAudSyncIsPulledDown() { return ProjectState::current().vidprojAudSyncPulldown_.get(); }
    static void setVidprojAudSyncPulldown(bool pulledDown, bool notify);

    // The project's identity, invalid without a project. The second setter is for one that was just made; the state
    // makes no difference.
    static Cookie getCookie();
    static void setCookie(const Cookie& cookie);
    static void setNewCookie(const Cookie& cookie);

    static bool isAutoProject() { return ProjectState::current().isAuto_.get(); }
    static void setAutoProjectFlag(bool isAuto);
    static bool startedAsAutoProject() { return ProjectState::current().startedAsAuto_.get(); }
    static void setStartedAsAutoProjectFlag(bool startedAsAuto);

    // The look-up table through which viewers show pictures, by name. A new name is told to those who follow its
    // server, which nobody else writes to; listeners hear of the switch alone, from its own setter.
    static Text getViewLUT();
    static void setViewLUT(const Text& name, bool enabled);
    static ValServer<Text>& getViewLUTServer();
    static bool getViewLUTEnabled() { return ProjectState::current().viewLUTEnabled_.get(); }
    static void setViewLUTEnabled(bool enabled, bool notify);

    // By target; what is no target shows the left eye, whatever is set.
    static StereoMode getStereoscopicPreviewMode(StereoTarget target);
    static void setStereoscopicPreviewMode(StereoTarget target, StereoMode mode, bool notify);

    // Tells the listeners that the quality of the output has changed, which is stored elsewhere.
    static void outputQualityChange();

    // The callback is told of every aspect for as long as the guard lives: a bit of ProjectState::Aspect. A null
    // callback gives a null guard.
    static Ptr<Guard> addListener(const Ptr<Listener>& listener);

    // The notice that the licence has changed, which the layer that knows the licence writes.
    static ValServer<Text>& getLicenseChangeServer() { return ::getLicenseChangeServer(); }
};

// The longest soft cut in whole milliseconds: a frame of the current project less 5.
MISC_API int getMaxCurrentProjectSoftCutDuration();

// Whether a shot at one rate can go into a new project at another.
MISC_API bool shotMwFrameRateIsCompatibleWithNewProject(FrameRate shot, FrameRate project);

// Whether the rate is a variant of another for a project. None is: false, with an assertion for the rates of 48 and for
// all that no output has.
MISC_API bool isVariantFrameRateForProject(FrameRate rate);

// Carry the notice that the product has changed, a text for people, to who registered, as long as the guard lives.
// Every notice is told, an equal one too. Any thread.
MISC_API void issueProductChangeNotification(const LightweightString<wchar_t>& text);
MISC_API Ptr<Guard> registerForProductChangeNotification(
    const Ptr<iCallbackBase<int, NotifierEvent<LightweightString<wchar_t>>>>& callback);

} // namespace Mw
