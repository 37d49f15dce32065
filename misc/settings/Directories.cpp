#include "misc/settings/Directories.h"

#include "OS/Desktop.h"
#include "OS/FileMgr.h"
#include "OS/OS.h"
#include "libmw/CriticalSection.h"
#include "libmw/Text.h"
#include "misc/identity/Cookie.h"

#include <algorithm>
#include <cstdlib>

namespace
{

using Path = LightweightString<wchar_t>;

constinit CriticalSection theBaseLock("projects base directory");

// Empty for the default; guarded by the lock. Kept to the end of the process, for threads that still run.
Path& chosenBase()
{
    static Path& base = *new Path;
    return base;
}

Path withoutEnd(Path path)
{
    while (path.length() > 1 && path.back() == OS().fileMgr().pathSeparator())
        path.resize(path.length() - 1);
    return path;
}

Path userDataDirectory()
{
    return OS().desktop().getUserDataPath(OS().fileMgr().getApplicationName());
}

Path nameUnder(CookieType letter, const Cookie& cookie)
{
    return convertCookie(cookie, letter, Cookie::defaultSubType).asWString();
}

bool endsWithoutCase(const Path& name, const Path& suffix)
{
    return suffix.length() <= name.length() &&
           Mw::toUpper(name.substr(name.length() - suffix.length())) == Mw::toUpper(suffix);
}

} // namespace

Path getDefaultLocalProjectsDir()
{
    // Only an absolute path counts, as for the directories of the desktop.
    const char* const chosen = std::getenv("MW_PROJECTS_DIR");
    const bool isChosen = chosen != nullptr && chosen[0] == '/';
    const Path path = isChosen ? withoutEnd(fromUTF8(chosen)) : Mw::joinPath(userDataDirectory(), L"Projects");
    OS().fileMgr().ensureDirectory(path);
    return path;
}

Path getProjectsBaseDirectory()
{
    {
        const CriticalSection::Lock lock(theBaseLock);
        if (!chosenBase().empty())
            return chosenBase();
    }
    return getDefaultLocalProjectsDir();
}

void setProjectsBaseDirectory(const Path& path)
{
    const CriticalSection::Lock lock(theBaseLock);
    chosenBase() = withoutEnd(path);
}

Path getProjectDirectory(const Cookie& cookie)
{
    return Mw::joinPath(getProjectsBaseDirectory(), nameUnder('P', cookie));
}

Path getRoomsDir(const Cookie& cookie)
{
    return Mw::joinPath(getProjectDirectory(cookie), L"Rooms");
}

Path getProjectGroupsDirectory(const Cookie& cookie)
{
    return Mw::joinPath(getProjectsBaseDirectory(), nameUnder('G', cookie));
}

Path getWaveformDataFileFor(const Cookie& cookie)
{
    const Cookie audio = convertCookie(cookie, 'S', static_cast<unsigned char>(cookie.subType()));
    return Mw::joinPath(Mw::joinPath(userDataDirectory(), L"Waveforms"), audio.asWString() + L".wfm");
}

Path getEditFilenameExt()
{
    return L".odb";
}

std::vector<Path> getDirListing(const Path& directory, const std::vector<Path>& patterns,
                                const std::vector<Path>& suffixes)
{
    std::vector<iFileMgr::Entry> entries;
    OS().fileMgr().list(directory, L"*", entries);
    std::vector<Path> names;
    for (const iFileMgr::Entry& entry : entries)
    {
        const auto matches = [&](const Path& pattern) { return Mw::matchesWildcards(entry.name, pattern); };
        const auto ends = [&](const Path& suffix) { return endsWithoutCase(entry.name, suffix); };
        const bool asked = suffixes.empty() || std::any_of(suffixes.begin(), suffixes.end(), ends);
        if (asked && std::any_of(patterns.begin(), patterns.end(), matches))
            names.push_back(entry.name);
    }
    return names;
}
