#pragma once

#include "OS/Desktop.h"
#include "OS/OS.h"
#include "OS/testing/MemorySettings.h"

#include <map>
#include <mutex>
#include <string>

// A desktop whose settings are in memory; the rest goes to the service that was in place. With it in
// place nothing reaches the settings of whoever runs the test. Any thread.
//
//     TestDesktop desktop;
//     OSReplacement<iDesktop> replaced(desktop);
class OS_API TestDesktop : public iDesktop
{
public:
    using Wide = LightweightString<wchar_t>;

    TestDesktop() : target_(OS().desktop()) {}
    ~TestDesktop() override;

    // The store that openSettings gives for this name; owners have stores of their own.
    Mw::Ptr<MemorySettings> settings(const Wide& fileName, eSettingsOwner owner);

    Mw::Ptr<iSettings> openSettings(const Wide& fileName, eSettingsOwner owner) override
    {
        return settings(fileName, owner);
    }
    Wide getUserDataPath(const Wide& application) override { return target_.getUserDataPath(application); }
    Wide getUserConfigPath(const Wide& application) override { return target_.getUserConfigPath(application); }
    Wide getMachineConfigPath(const Wide& application) override { return target_.getMachineConfigPath(application); }
    Wide getUserName() override { return target_.getUserName(); }
    int showMessageBox(const Wide& title, const Wide& text, eMessageIcon icon, eMessageButtons buttons) override
    {
        return target_.showMessageBox(title, text, icon, buttons);
    }
    bool revealFiles(const std::vector<Wide>& paths) override { return target_.revealFiles(paths); }
    Wide getClipboardText() override { return target_.getClipboardText(); }
    void setClipboardText(const Wide& text) override { target_.setClipboardText(text); }

private:
    iDesktop& target_;
    std::mutex mutex_;
    std::map<std::pair<eSettingsOwner, Wide>, Mw::Ptr<MemorySettings>> stores_;
};
