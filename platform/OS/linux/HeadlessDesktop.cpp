#include "OS/Desktop.h"
#include "OS/FileMgr.h"
#include "OS/Immortal.h"
#include "OS/OS.h"
#include "OS/Utf8.h"
#include "OS/linux/NativePath.h"

#include <cstdio>
#include <cstdlib>
#include <map>
#include <mutex>
#include <pwd.h>
#include <string>
#include <unistd.h>
#include <vector>

namespace
{

using Wide = LightweightString<wchar_t>;

// An environment variable that names a directory; empty unless its value is absolute, for a relative
// one is to be ignored.
std::string directoryVariable(const char* name)
{
    const char* const value = std::getenv(name);
    return value != nullptr && value[0] == '/' ? value : "";
}

// What the user database says of this process's user.
struct User
{
    std::string name;
    std::string home;
};

User currentUser()
{
    passwd entry;
    passwd* found = nullptr;
    std::vector<char> buffer(16 * 1024);
    if (::getpwuid_r(::geteuid(), &entry, buffer.data(), buffer.size(), &found) != 0 || found == nullptr)
        return {std::to_string(::geteuid()), "/"};
    return {found->pw_name, found->pw_dir};
}

// `override`, or else `variable`, or else `underHome` in the user's home directory.
Wide userDirectory(const char* override, const char* variable, const char* underHome)
{
    std::string directory = directoryVariable(override);
    if (directory.empty())
        directory = directoryVariable(variable);
    if (directory.empty())
    {
        directory = directoryVariable("HOME");
        if (directory.empty())
            directory = currentUser().home;
        directory += underHome;
    }
    return widePath(directory.c_str());
}

// The machine's configuration directories, the most important first.
std::vector<Wide> machineDirectories()
{
    if (const std::string only = directoryVariable("MW_MACHINE_CONFIG_DIR"); !only.empty())
        return {widePath(only.c_str())};
    std::vector<Wide> directories;
    const char* const value = std::getenv("XDG_CONFIG_DIRS");
    const std::string list = value != nullptr ? value : "";
    for (std::size_t at = 0; at <= list.size();)
    {
        const std::size_t end = std::min(list.find(':', at), list.size());
        if (list[at] == '/')
            directories.push_back(widePath(list.substr(at, end - at).c_str()));
        at = end + 1;
    }
    if (directories.empty())
        directories.push_back(L"/etc/xdg");
    return directories;
}

class HeadlessDesktop : public iDesktop
{
public:
    Wide getUserDataPath(const Wide& applicationName) override
    {
        return Mw::joinPath(userDirectory("MW_DATA_DIR", "XDG_DATA_HOME", "/.local/share"), applicationName);
    }

    Wide getUserConfigPath(const Wide& applicationName) override
    {
        return Mw::joinPath(userDirectory("MW_CONFIG_DIR", "XDG_CONFIG_HOME", "/.config"), applicationName);
    }

    Wide getMachineConfigPath(const Wide& applicationName) override
    {
        const std::vector<Wide> directories = machineDirectories();
        for (const Wide& directory : directories)
            if (const Wide path = Mw::joinPath(directory, applicationName); OS().fileMgr().isDirectory(path))
                return path;
        return Mw::joinPath(directories.front(), applicationName);
    }

    Wide getUserName() override { return widePath(currentUser().name.c_str()); }

    Mw::Ptr<iSettings> openSettings(const Wide& fileName, eSettingsOwner owner) override
    {
        const Wide application = OS().fileMgr().getApplicationName();
        const Wide directory =
            owner == eUserSettings ? getUserConfigPath(application) : getMachineConfigPath(application);
        // A name of its own, since the configuration file itself may be there.
        const Wide path = Mw::joinPath(directory, fileName) + L".sqlite";
        const std::lock_guard lock(mutex_);
        Mw::Ptr<iSettings>& store = settings_[path];
        if (!store)
            store = Mw::openSettingsFile(path);
        return store;
    }

    int showMessageBox(const Wide& title, const Wide& text, eMessageIcon, eMessageButtons) override
    {
        const LightweightString<char> titleBytes = Mw::utf8FromWide(title.c_str(), title.length());
        const LightweightString<char> textBytes = Mw::utf8FromWide(text.c_str(), text.length());
        std::fprintf(stderr, "%s: %s\n", titleBytes.c_str(), textBytes.c_str());
        return 0;
    }

    bool revealFiles(const std::vector<Wide>&) override { return false; }

    Wide getClipboardText() override
    {
        const std::lock_guard lock(mutex_);
        return clipboard_;
    }

    void setClipboardText(const Wide& text) override
    {
        const std::lock_guard lock(mutex_);
        clipboard_ = text;
    }

private:
    std::mutex mutex_;
    Wide clipboard_;
    std::map<Wide, Mw::Ptr<iSettings>> settings_;
};

} // namespace

iDesktop& OperatingSystem::standardDesktop()
{
    return immortal<HeadlessDesktop>();
}
