#include "misc/media/ProjectState.h"

#include "OS/Immortal.h"
#include "misc/settings/config.h"

#include <string_view>

namespace
{

Mw::FrameRate initialFrameRate()
{
    char machineType[16];
    config_string("machine_type", machineType, sizeof machineType - 1, "pal");
    return machineType == std::string_view("ntsc") ? Mw::FR30 : Mw::FR25;
}

const OutputFormat::Details& firstPermittedFormat(Mw::FrameRate project)
{
    std::vector<unsigned> permitted;
    OutputFormat::getAllowedOutputFormatsForProjectFrameRate(project, permitted);
    return OutputFormat::getFormat(permitted.front());
}

} // namespace

constinit std::atomic<ProjectState*> ProjectState::current_{nullptr};

ProjectState& ProjectState::makeCurrent()
{
    ProjectState& state = immortal<ProjectState>();
    current_.store(&state, std::memory_order_release);
    return state;
}

ProjectState::ProjectState()
    : frameRate_(initialFrameRate()), outputImageFormat_(firstPermittedFormat(frameRate_.get())),
      revisedOutputImageFormat_(outputImageFormat_.get())
{
    using namespace eStereoOutputTargets;
    for (const eStereoOutputTarget target : {eViewer, eFullScreen, eVideoOutput})
        stereoModes_[target];
}

Mw::Ptr<Mw::Guard> ProjectState::addListener(const Mw::Ptr<Listener>& listener)
{
    return listeners_.registerNotification(listener);
}

void ProjectState::tellListeners(Aspect aspect) const
{
    NotifierEvent<unsigned> event;
    event.value = aspect;
    listeners_.issueNotification(event, NotifyMsgTypeDictionary::anyType);
}
