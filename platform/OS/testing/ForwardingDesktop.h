#pragma once

#include "OS/Desktop.h"
#include "OS/OS.h"

// A desktop that passes everything on to the one that was in place when it was made, for a test to override what it
// wants. Put in place, it is asked anew for settings that somebody asked for before `main`: directories that the
// environment has named since then count.
class ForwardingDesktop : public iDesktop
{
public:
    using Wide = LightweightString<wchar_t>;

    ForwardingDesktop() : target_(OS().desktop()) {}

    Wide getUserDataPath(const Wide& application) override { return target_.getUserDataPath(application); }
    Wide getUserConfigPath(const Wide& application) override { return target_.getUserConfigPath(application); }
    Wide getMachineConfigPath(const Wide& application) override { return target_.getMachineConfigPath(application); }
    Wide getUserName() override { return target_.getUserName(); }
    Mw::Ptr<iSettings> openSettings(const Wide& fileName, eSettingsOwner owner) override
    {
        return target_.openSettings(fileName, owner);
    }
    int showMessageBox(const Wide& title, const Wide& text, eMessageIcon icon, eMessageButtons buttons) override
    {
        return target_.showMessageBox(title, text, icon, buttons);
    }
    bool revealFiles(const std::vector<Wide>& paths) override { return target_.revealFiles(paths); }
    Wide getClipboardText() override { return target_.getClipboardText(); }
    void setClipboardText(const Wide& text) override { target_.setClipboardText(text); }

private:
    iDesktop& target_;
};
