#pragma once

#include "misc/identity/Cookie.h"
#include "misc/media/ImageSize.h"
#include "misc/media/PictureSettings.h"
#include "misc/media/SharedValue.h"
#include "misc/notify/TextValServer.h"

#include <atomic>
#include <map>

// Where pictures are put out that may be stereoscopic.
namespace eStereoOutputTargets
{
enum eStereoOutputTarget : std::int32_t
{
    eViewer,
    eFullScreen,
    eVideoOutput
};
} // namespace eStereoOutputTargets

// How both pictures of a stereoscopic pair are shown as one.
namespace eStereoPreviewModes
{
enum eStereoPreviewMode : std::int32_t
{
    eLeftEye,
    eRightEye,
    eAnaglyph,
    eSideBySide,
    eTopAndBottom
};
} // namespace eStereoPreviewModes

// The values of a project while it is open, and those who listen to their changes. What they mean and how they are
// set is Mw::CurrentProject's, which has the one state that counts.
//
// Any thread may read and write the values. Listeners are called at once, on the telling thread, under their own
// lock, as those of every notifier.
class MISC_API ProjectState
{
public:
    // What a project puts out now, and what it has been revised to for the next time.
    enum Revision : std::int32_t
    {
        Current,
        Revised
    };

    // What has changed: the value that listeners are told, one bit each.
    enum Aspect : unsigned
    {
        OutputQualityAspect = 1,
        FrameRateAspect = 2,
        OutputImageFormatAspect = 4,
        OutputPulldownAspect = 8,
        VidprojAudSyncPulldownAspect = 16,
        InCameraFilmSpeedAspect = 32,
        ViewLUTEnabledAspect = 64,
        StereoscopicPreviewModeAspect = 128
    };

    using Listener = iCallbackBase<int, NotifierEvent<unsigned>>;
    using StereoModes =
        std::map<eStereoOutputTargets::eStereoOutputTarget, SharedValue<eStereoPreviewModes::eStereoPreviewMode>>;

    // A project as it begins: at FR30 where the setting "machine_type" is "ntsc" and else at FR25, with the first
    // output format that the rate permits, for film shot at FR24, without a cookie, and with everything else off.
    ProjectState();
    ProjectState(const ProjectState&) = delete;
    ProjectState& operator=(const ProjectState&) = delete;

    // The state of the current project, made at the first call and never destroyed: for static objects too.
    static ProjectState& current()
    {
        ProjectState* const made = current_.load(std::memory_order_acquire);
        return made != nullptr ? *made : makeCurrent();
    }

    // The callback is told of every aspect, as long as the guard lives.
    Mw::Ptr<Mw::Guard> addListener(const Mw::Ptr<Listener>& listener);
    void tellListeners(Aspect aspect) const;

    SharedValue<Mw::FrameRate> frameRate_;
    SharedValue<Mw::FrameRate> inCameraFilmSpeed_{Mw::FR24};
    SharedValue<PictureSettings> outputImageFormat_;
    SharedValue<PictureSettings> revisedOutputImageFormat_;
    SharedValue<bool> useDropFrameTimecode_;
    SharedValue<bool> outputPulldown_;
    SharedValue<bool> vidprojAudSyncPulldown_;
    SharedValue<Cookie> cookie_;
    SharedValue<bool> isAuto_;
    SharedValue<bool> startedAsAuto_;
    TextValServer viewLUT_;
    SharedValue<bool> viewLUTEnabled_;
    StereoModes stereoModes_; // an entry for each target, from the start
    TextValServer productChange_;
    const Mw::ImageSize::Presets imageSizes_;

private:
    static ProjectState& makeCurrent();

    static std::atomic<ProjectState*> current_;

    NotifierEx<unsigned> listeners_;
};
