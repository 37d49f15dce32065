#pragma once

#include "OS/FileMgr.h"
#include "OS/OS.h"

// A file that passes everything on, for a test to override what it wants to see or break.
class OS_API ForwardingFile : public iFile
{
public:
    explicit ForwardingFile(const Mw::Ptr<iFile>& target) : target_(target) {}
    ~ForwardingFile() override;

    LightweightString<wchar_t> path() override { return target_->path(); }
    std::int64_t read(void* buffer, std::size_t sizeBytes, std::uint64_t offset) override
    {
        return target_->read(buffer, sizeBytes, offset);
    }
    LightweightString<char> lastError() override { return target_->lastError(); }
    bool lock(eLock kind, eLockWait wait) override { return target_->lock(kind, wait); }
    bool unlock() override { return target_->unlock(); }
    bool supportsLocks() override { return target_->supportsLocks(); }
    std::int64_t write(const void* data, std::size_t sizeBytes, std::uint64_t offset) override
    {
        return target_->write(data, sizeBytes, offset);
    }
    bool flushToDisk() override { return target_->flushToDisk(); }
    bool truncate(std::uint64_t sizeBytes) override { return target_->truncate(sizeBytes); }
    bool close() override { return target_->close(); }
    double modificationTime() override { return target_->modificationTime(); }
    bool setModificationTime(double seconds) override { return target_->setModificationTime(seconds); }
    unsigned mode() override { return target_->mode(); }
    bool setMode(unsigned mode) override { return target_->setMode(mode); }
    std::uint64_t size() override { return target_->size(); }
    std::uint64_t recalculateSize() override { return target_->recalculateSize(); }
    Identity identity() override { return target_->identity(); }
    bool isOpen() override { return target_->isOpen(); }
    unsigned getCaps() override { return target_->getCaps(); }
    bool reserve(std::uint64_t sizeBytes) override { return target_->reserve(sizeBytes); }
    bool startFlush(std::uint64_t offset, std::uint64_t sizeBytes) override
    {
        return target_->startFlush(offset, sizeBytes);
    }

private:
    const Mw::Ptr<iFile> target_;
};

// The same for the file manager; without an argument it passes on to the one in place. The target must
// live as long.
class OS_API ForwardingFileMgr : public iFileMgr
{
public:
    using Path = LightweightString<wchar_t>;

    explicit ForwardingFileMgr(iFileMgr& target = OS().fileMgr()) : target_(target) {}
    ~ForwardingFileMgr() override;

    Mw::Ptr<iFile> openFile(const Path& path, iFile::eAccess access, iFile::eOpenBehaviour behaviour,
                            iFile::eSharing sharing, unsigned hints, unsigned mode) override
    {
        return target_.openFile(path, access, behaviour, sharing, hints, mode);
    }
    Path getApplicationName() override { return target_.getApplicationName(); }
    void setApplicationName(const Path& name) override { target_.setApplicationName(name); }
    wchar_t pathSeparator() override { return target_.pathSeparator(); }
    std::optional<Status> status(const Path& path) override { return target_.status(path); }
    bool exists(const Path& path) override { return target_.exists(path); }
    bool isDirectory(const Path& path) override { return target_.isDirectory(path); }
    bool ensureDirectory(const Path& path) override { return target_.ensureDirectory(path); }
    bool rename(const Path& from, const Path& to) override { return target_.rename(from, to); }
    bool remove(const Path& path) override { return target_.remove(path); }
    bool syncDirectory(const Path& path) override { return target_.syncDirectory(path); }
    bool list(const Path& directory, const Path& pattern, std::vector<Entry>& entries) override
    {
        return target_.list(directory, pattern, entries);
    }
    Path resolve(const Path& path) override { return target_.resolve(path); }
    Path workingDirectory() override { return target_.workingDirectory(); }
    bool setWorkingDirectory(const Path& path) override { return target_.setWorkingDirectory(path); }
    Path temporaryDirectory() override { return target_.temporaryDirectory(); }
    Path executablePath() override { return target_.executablePath(); }
    Path findConfigurationFile(const Path& name) override { return target_.findConfigurationFile(name); }

private:
    iFileMgr& target_;
};
