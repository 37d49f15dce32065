#include "OS/testing/FailingFileMgr.h"

#include <atomic>

namespace
{

constexpr const char* failureText = "Simulated failure";

class FailingFile : public ForwardingFile
{
public:
    FailingFile(const Mw::Ptr<iFile>& target, FailingFileMgr& manager) : ForwardingFile(target), manager_(manager) {}

    std::int64_t read(void* buffer, std::size_t sizeBytes, std::uint64_t offset) override
    {
        return note(FailingFileMgr::eRead) ? -1 : ForwardingFile::read(buffer, sizeBytes, offset);
    }

    std::int64_t write(const void* data, std::size_t sizeBytes, std::uint64_t offset) override
    {
        if (!note(FailingFileMgr::eWrite))
            return ForwardingFile::write(data, sizeBytes, offset);
        ForwardingFile::write(data, sizeBytes / 2, offset);
        return -1;
    }

    bool flushToDisk() override { return !note(FailingFileMgr::eFlush) && ForwardingFile::flushToDisk(); }

    bool truncate(std::uint64_t sizeBytes) override
    {
        return !note(FailingFileMgr::eTruncate) && ForwardingFile::truncate(sizeBytes);
    }

    bool close() override
    {
        const bool failing = note(FailingFileMgr::eClose);
        return ForwardingFile::close() && !failing;
    }

    std::uint64_t size() override { return note(FailingFileMgr::eSize) ? 0 : ForwardingFile::size(); }

    unsigned mode() override { return note(FailingFileMgr::eMode) ? 0 : ForwardingFile::mode(); }

    bool lock(eLock kind, eLockWait wait) override
    {
        return !note(FailingFileMgr::eLock) && !manager_.isWithoutLocks() && ForwardingFile::lock(kind, wait);
    }

    bool supportsLocks() override { return !manager_.isWithoutLocks() && ForwardingFile::supportsLocks(); }

    bool setMode(unsigned mode) override { return !note(FailingFileMgr::eSetMode) && ForwardingFile::setMode(mode); }

    LightweightString<char> lastError() override
    {
        return failed_ ? LightweightString<char>(failureText) : ForwardingFile::lastError();
    }

private:
    bool note(FailingFileMgr::eCall call)
    {
        failed_ = manager_.fails(call);
        return failed_;
    }

    FailingFileMgr& manager_;
    std::atomic<bool> failed_{false};
};

// A file that could not be opened.
class UnopenedFile : public ForwardingFile
{
public:
    using ForwardingFile::ForwardingFile;

    bool isOpen() override { return false; }
    LightweightString<char> lastError() override { return failureText; }
};

} // namespace

FailingFileMgr::~FailingFileMgr() = default;

void FailingFileMgr::failAt(int call, eAfterwards afterwards)
{
    calls_ = 0;
    failing_ = call;
    afterwards_ = afterwards;
}

bool FailingFileMgr::fails(eCall call)
{
    if ((watched_ & call) == 0)
        return false;
    const int number = ++calls_;
    const int failing = failing_;
    if (failing == 0 || number < failing || (number > failing && afterwards_ == eOnce))
        return false;
    fail(failureText);
    return true;
}

Mw::Ptr<iFile> FailingFileMgr::openFile(const Path& path, iFile::eAccess access, iFile::eOpenBehaviour behaviour,
                                        iFile::eSharing sharing, unsigned hints, unsigned mode)
{
    // An empty path opens nothing and makes nothing.
    if (fails(access == iFile::eRead ? eOpenToRead : eOpenToWrite))
        return Mw::Ptr<iFile>(new UnopenedFile(
            ForwardingFileMgr::openFile(Path(), iFile::eRead, iFile::eOpenExisting, sharing, hints, mode)));
    return Mw::Ptr<iFile>(
        new FailingFile(ForwardingFileMgr::openFile(path, access, behaviour, sharing, hints, mode), *this));
}

std::optional<iFileMgr::Status> FailingFileMgr::status(const Path& path)
{
    return fails(eMode) ? std::nullopt : ForwardingFileMgr::status(path);
}

bool FailingFileMgr::exists(const Path& path)
{
    return !fails(eExists) && ForwardingFileMgr::exists(path);
}

bool FailingFileMgr::ensureDirectory(const Path& path)
{
    return !fails(eEnsureDirectory) && ForwardingFileMgr::ensureDirectory(path);
}

bool FailingFileMgr::rename(const Path& from, const Path& to)
{
    return !fails(eRename) && ForwardingFileMgr::rename(from, to);
}

bool FailingFileMgr::remove(const Path& path)
{
    return !fails(eRemove) && ForwardingFileMgr::remove(path);
}

bool FailingFileMgr::syncDirectory(const Path& path)
{
    return !fails(eSyncDirectory) && ForwardingFileMgr::syncDirectory(path);
}
