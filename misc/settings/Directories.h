#pragma once

#include "Mw/LightweightString.h"
#include "OS/Export.h"

#include <vector>

class Cookie;

// Where projects and what belongs to them lie. None of these paths but the root ends in a separator. Any
// thread.
//
//     $MW_PROJECTS_DIR, or Projects in the user's data directory
//         cookie.num                 the next cookie number
//         P<identity>                one project
//             Rooms
//         G<identity>                the groups of a project
//     Waveforms in the user's data directory
//         S<identity>.wfm            the drawn waveform of audio material

// The user's own projects and the numbers of this machine. It is made when it is asked for.
MISC_API LightweightString<wchar_t> getDefaultLocalProjectsDir();

// Where projects are looked for: the default directory unless a host has set another. The empty path
// brings the default back.
MISC_API LightweightString<wchar_t> getProjectsBaseDirectory();
MISC_API void setProjectsBaseDirectory(const LightweightString<wchar_t>& path);

// Of the project that a cookie of any letter belongs to. These are names: nothing is made on disk.
MISC_API LightweightString<wchar_t> getProjectDirectory(const Cookie& cookie);
MISC_API LightweightString<wchar_t> getRoomsDir(const Cookie& cookie);
MISC_API LightweightString<wchar_t> getProjectGroupsDirectory(const Cookie& cookie);

// Of the audio that shares the cookie's identity and sub-type.
MISC_API LightweightString<wchar_t> getWaveformDataFileFor(const Cookie& cookie);

// The ending of the files that edits are stored in, ".odb".
MISC_API LightweightString<wchar_t> getEditFilenameExt();

// The names in a directory that match one of the patterns of iFileMgr::list and end in one of the
// suffixes, whose case doesn't count; no suffixes ask for all. Each name once, in the order of characters.
MISC_API std::vector<LightweightString<wchar_t>>
getDirListing(const LightweightString<wchar_t>& directory, const std::vector<LightweightString<wchar_t>>& patterns,
              const std::vector<LightweightString<wchar_t>>& suffixes = {});
