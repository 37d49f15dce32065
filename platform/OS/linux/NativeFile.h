#pragma once

#include "OS/FileMgr.h"

#include <atomic>

// iFile on a file descriptor.
class NativeFile : public iFile
{
public:
    NativeFile(const LightweightString<wchar_t>& path, eAccess access, eOpenBehaviour behaviour, eSharing sharing,
               unsigned hints, unsigned mode);
    ~NativeFile() override;

    LightweightString<wchar_t> path() override;
    std::int64_t read(void* buffer, std::size_t sizeBytes, std::uint64_t offset) override;
    LightweightString<char> lastError() override;
    bool lock(eLock kind, eLockWait wait) override;
    bool unlock() override;
    bool supportsLocks() override { return supportsLocks_; }
    std::int64_t write(const void* data, std::size_t sizeBytes, std::uint64_t offset) override;
    bool flushToDisk() override;
    bool truncate(std::uint64_t sizeBytes) override;
    bool close() override;
    double modificationTime() override;
    bool setModificationTime(double seconds) override;
    unsigned mode() override;
    bool setMode(unsigned mode) override;
    std::uint64_t size() override;
    Identity identity() override;
    bool isOpen() override;
    unsigned getCaps() override;
    bool reserve(std::uint64_t sizeBytes) override;
    bool startFlush(std::uint64_t offset, std::uint64_t sizeBytes) override;

private:
    // Keeps the error of a call that failed (result < 0) or the absence of one.
    bool keep(int result);
    void prepare(eOpenBehaviour behaviour, eSharing sharing, unsigned hints);

    LightweightString<wchar_t> path_;
    int descriptor_ = -1;
    bool seeks_ = false;
    std::atomic<bool> supportsLocks_{true};
    std::atomic<int> error_{0};
    std::atomic<int> flushError_{0};
};
