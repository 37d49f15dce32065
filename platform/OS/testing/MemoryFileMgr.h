#pragma once

#include "OS/FileMgr.h"

#include <memory>

// Files in memory, on a disk that a test can switch off: what was written but not flushed, and names that
// were changed in a directory that was not, are lost then. The root, the working directory and the
// directory for temporary files exist at the start. There are no links and no permissions are checked.
// Any thread.
class OS_API MemoryFileMgr : public iFileMgr
{
public:
    using Path = LightweightString<wchar_t>;

    MemoryFileMgr();
    ~MemoryFileMgr() override;

    // The machine stops and starts again: only what was flushed to the disk is there. Files that are
    // open stay so, cut off from the disk.
    void loseUnflushed();

    Mw::Ptr<iFile> openFile(const Path& path, iFile::eAccess access, iFile::eOpenBehaviour behaviour,
                            iFile::eSharing sharing, unsigned hints, unsigned mode) override;
    Path getApplicationName() override;
    void setApplicationName(const Path& name) override;
    wchar_t pathSeparator() override { return L'/'; }
    std::optional<Status> status(const Path& path) override;
    bool exists(const Path& path) override;
    bool isDirectory(const Path& path) override;
    bool ensureDirectory(const Path& path) override;
    bool rename(const Path& from, const Path& to) override;
    bool remove(const Path& path) override;
    bool syncDirectory(const Path& path) override;
    bool list(const Path& directory, const Path& pattern, std::vector<Entry>& entries) override;
    Path resolve(const Path& path) override;
    Path workingDirectory() override;
    bool setWorkingDirectory(const Path& path) override;
    Path temporaryDirectory() override { return L"/tmp"; }
    Path executablePath() override { return L"/bin/application"; }
    Path findConfigurationFile(const Path& name) override;

private:
    struct Disk;
    class File;

    const std::unique_ptr<Disk> disk_;
};
