#pragma once

#include "Mw/LightweightString.h"
#include "Mw/Ptr.h"
#include "OS/Settings.h"

#include <vector>

// The user's surroundings: OS().desktop(). Any thread. The standard one is headless.
class OS_API iDesktop
{
public:
    enum eMessageIcon
    {
        eIconInformation,
        eIconWarning,
        eIconError
    };
    enum eMessageButtons
    {
        eButtonOK,
        eButtonOKCancel
    };

    // Whose settings a store holds.
    enum eSettingsOwner
    {
        eUserSettings,
        eMachineSettings
    };

    iDesktop() noexcept;
    virtual ~iDesktop();

    // Where an application keeps its files, by the rules of the XDG base directories. None is created by
    // these calls, and none ends in a separator:
    //
    //     the user's data           $MW_DATA_DIR, $XDG_DATA_HOME, ~/.local/share
    //     the user's configuration  $MW_CONFIG_DIR, $XDG_CONFIG_HOME, ~/.config
    //     the machine's             $MW_MACHINE_CONFIG_DIR, the directories of $XDG_CONFIG_DIRS, /etc/xdg
    //
    // The first that is set to an absolute path counts, and the application's name is added. Of several
    // directories in $XDG_CONFIG_DIRS it is the first that holds the application's, or else the first.
    virtual LightweightString<wchar_t> getUserDataPath(const LightweightString<wchar_t>& applicationName) = 0;
    virtual LightweightString<wchar_t> getUserConfigPath(const LightweightString<wchar_t>& applicationName) = 0;
    virtual LightweightString<wchar_t> getMachineConfigPath(const LightweightString<wchar_t>& applicationName) = 0;

    virtual LightweightString<wchar_t> getUserName() = 0;

    // The settings store that belongs to the configuration file `fileName`, such as "config.dat", in the
    // user's or the machine's configuration directory of the application. Never null; each call for one
    // file gives the same store. Nothing is made on the disk before the store's first write.
    virtual Mw::Ptr<iSettings> openSettings(const LightweightString<wchar_t>& fileName, eSettingsOwner owner) = 0;

    // Shows a message and waits for the answer: 0 for OK, 1 for cancel. The headless form writes title
    // and text to standard error and answers 0 at once.
    virtual int showMessageBox(const LightweightString<wchar_t>& title, const LightweightString<wchar_t>& text,
                               eMessageIcon icon, eMessageButtons buttons) = 0;

    // Shows the files in the system's file manager; false where there is none.
    virtual bool revealFiles(const std::vector<LightweightString<wchar_t>>& paths) = 0;

    // The headless clipboard is a text of the process.
    virtual LightweightString<wchar_t> getClipboardText() = 0;
    virtual void setClipboardText(const LightweightString<wchar_t>& text) = 0;

    // Which service this is: no other one of the process has, or had, this number.
    unsigned serial() const noexcept { return serial_; }

private:
    const unsigned serial_;
};

namespace Mw
{

// The store that openSettings of the desktop service in place gives, asked anew whenever the service is
// replaced: for objects that live as long as the process, which a test can so turn to stores of its own.
// Cheap to make and to read through.
OS_API Ptr<iSettings> currentSettings(const LightweightString<wchar_t>& fileName, iDesktop::eSettingsOwner owner);

} // namespace Mw
