#pragma once

#include "Mw/LightweightString.h"
#include "Mw/Ptr.h"
#include "OS/File.h"

#include <optional>
#include <vector>

// Files and folders: OS().fileMgr(). Any thread.
//
// Paths are wide text and go to the system as UTF-8; any name that is valid UTF-8 survives the way there
// and back. Operations that fail leave the reason in `lastError`.
class OS_API iFileMgr
{
public:
    struct Entry
    {
        LightweightString<wchar_t> name; // without its folder
        bool isDirectory = false;
    };

    struct Status
    {
        bool exists = false; // the others say nothing if not
        bool isDirectory = false;
        unsigned mode = 0; // permission bits, such as 0644
    };

    virtual ~iFileMgr();

    // Never null: for a path that can't be opened, the file's isOpen() says no and its lastError() why.
    // `mode` is given to a file that is made, less the process's mask.
    virtual Mw::Ptr<iFile> openFile(const LightweightString<wchar_t>& path, iFile::eAccess access = iFile::eRead,
                                    iFile::eOpenBehaviour behaviour = iFile::eOpenExisting,
                                    iFile::eSharing sharing = iFile::eShareAll, unsigned hints = iFile::eNoHints,
                                    unsigned mode = 0666) = 0;

    // The same with a cursor and a buffer.
    virtual Mw::Ptr<iStreamingFile> openStreamingFile(const LightweightString<wchar_t>& path,
                                                      iFile::eAccess access = iFile::eRead,
                                                      iFile::eOpenBehaviour behaviour = iFile::eOpenExisting);

    // The name for per-user directories and the titles of message boxes: that of the executable until
    // a host sets another. An empty name brings the first back.
    virtual LightweightString<wchar_t> getApplicationName() = 0;
    virtual void setApplicationName(const LightweightString<wchar_t>& name) = 0;

    virtual wchar_t pathSeparator() = 0;

    // What the path leads to, without opening it. That there is nothing is an answer, too; none is given
    // where it can't be told.
    virtual std::optional<Status> status(const LightweightString<wchar_t>& path) = 0;

    // False also where it can't be told.
    virtual bool exists(const LightweightString<wchar_t>& path) = 0;
    virtual bool isDirectory(const LightweightString<wchar_t>& path) = 0;

    // Makes the directory with its parents where they are missing; the new names are on the disk then. True
    // if it exists afterwards.
    virtual bool ensureDirectory(const LightweightString<wchar_t>& path) = 0;

    // Puts `from` in the place of `to` in one step: at every moment `to` is the old file or the new one.
    virtual bool rename(const LightweightString<wchar_t>& from, const LightweightString<wchar_t>& to) = 0;

    // A file, or an empty directory.
    virtual bool remove(const LightweightString<wchar_t>& path) = 0;

    // Contents and permissions; `to` is replaced whole, as by Mw::replaceFile.
    virtual bool copy(const LightweightString<wchar_t>& from, const LightweightString<wchar_t>& to);

    // True once the names in the directory (files that were made, renamed or removed) are on the disk.
    virtual bool syncDirectory(const LightweightString<wchar_t>& path) = 0;

    // Appends the directory's entries whose names match, in the order of their characters. In a pattern
    // `?` stands for any one character and `*` for any number; all others for themselves.
    virtual bool list(const LightweightString<wchar_t>& directory, const LightweightString<wchar_t>& pattern,
                      std::vector<Entry>& entries) = 0;

    // Where the path leads once every symbolic link in it is followed, absolute; a last part that does
    // not exist is kept. Empty if its directory does not exist or the links go round.
    virtual LightweightString<wchar_t> resolve(const LightweightString<wchar_t>& path) = 0;

    virtual LightweightString<wchar_t> workingDirectory() = 0;
    virtual bool setWorkingDirectory(const LightweightString<wchar_t>& path) = 0;

    // For files that needn't last: $TMPDIR if absolute, else /tmp.
    virtual LightweightString<wchar_t> temporaryDirectory() = 0;

    virtual LightweightString<wchar_t> executablePath() = 0;

    // Where a configuration file such as "config.dat" is: in the user's configuration directory, the
    // machine's, or beside the executable, whichever comes first. Empty if none has it.
    virtual LightweightString<wchar_t> findConfigurationFile(const LightweightString<wchar_t>& name) = 0;

    // Why the operation of the calling thread that failed last did so, whichever manager it asked.
    virtual LightweightString<char> lastError();

protected:
    // Keeps the reason for lastError. Gives false.
    static bool fail(const char* reason);
};

namespace Mw
{

// Whether `name` matches a pattern of iFileMgr::list.
OS_API bool matchesWildcards(const LightweightString<wchar_t>& name, const LightweightString<wchar_t>& pattern);

// A path of a directory and a name, with one separator between.
OS_API LightweightString<wchar_t> joinPath(const LightweightString<wchar_t>& directory,
                                           const LightweightString<wchar_t>& name);

// The directory part of a path, "." if it has none.
OS_API LightweightString<wchar_t> directoryOf(const LightweightString<wchar_t>& path);

// Replaces a file whole, through OS().fileMgr(): written beside, flushed, renamed, its directory flushed.
// At every moment a reader sees the old contents or the new. A symbolic link stays, and its target is replaced
// with its permissions. On failure (`error`, if given, says why) the old file stands and nothing is left beside
// it; only where the flush of the directory alone failed the new one stands, and may not survive a power cut.
OS_API bool replaceFile(const LightweightString<wchar_t>& path, const void* data, std::size_t sizeBytes,
                        LightweightString<char>* error = nullptr);

} // namespace Mw
