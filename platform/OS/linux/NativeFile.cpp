#include "OS/linux/NativeFile.h"

#include "OS/linux/NativePath.h"

#include <cerrno>
#include <cmath>
#include <cstring>
#include <fcntl.h>
#include <limits>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

// One call moves at most this much: the system's own limit is a little below 2 GiB.
constexpr std::size_t maxTransferBytes = std::size_t{1} << 30;

template <class Call>
auto retryInterrupted(Call call)
{
    auto result = call();
    while (result < 0 && errno == EINTR)
        result = call();
    return result;
}

int openFlags(iFile::eAccess access, iFile::eOpenBehaviour behaviour)
{
    int flags = O_CLOEXEC | O_NOCTTY;
    flags |= access == iFile::eReadWrite ? O_RDWR : access == iFile::eWrite ? O_WRONLY : O_RDONLY;
    switch (behaviour)
    {
    case iFile::eOpenExisting:
        return flags;
    case iFile::eCreateNew:
        return flags | O_CREAT | O_EXCL;
    case iFile::eCreateAlways:
    case iFile::eOpenAlways:
        return flags | O_CREAT;
    }
    return flags;
}

} // namespace

NativeFile::NativeFile(const LightweightString<wchar_t>& path, eAccess access, eOpenBehaviour behaviour,
                       eSharing sharing, unsigned hints, unsigned mode)
    : path_(path)
{
    const LightweightString<char> name = nativePath(path);
    const int flags = openFlags(access, behaviour);
    descriptor_ = retryInterrupted([&] { return ::open(name.c_str(), flags, static_cast<mode_t>(mode)); });
    if (keep(descriptor_))
        prepare(behaviour, sharing, hints);
}

void NativeFile::prepare(eOpenBehaviour behaviour, eSharing sharing, unsigned hints)
{
    struct stat info;
    bool good = keep(::fstat(descriptor_, &info));
    if (good && S_ISDIR(info.st_mode))
    {
        error_ = EISDIR;
        good = false;
    }
    if (good && sharing == eShareExclusive)
        good = lock(eLockExclusive, eTryLock);
    // Emptied only once the lock is held: a file that another uses is left alone.
    if (good && behaviour == eCreateAlways && S_ISREG(info.st_mode) && info.st_size != 0)
        good = truncate(0);
    if (!good)
    {
        ::close(descriptor_);
        descriptor_ = -1;
        return;
    }
    seeks_ = ::lseek(descriptor_, 0, SEEK_CUR) >= 0;
    if (hints & eSequential)
        ::posix_fadvise(descriptor_, 0, 0, POSIX_FADV_SEQUENTIAL);
    if (hints & eRandom)
        ::posix_fadvise(descriptor_, 0, 0, POSIX_FADV_RANDOM);
}

NativeFile::~NativeFile()
{
    if (descriptor_ >= 0)
        ::close(descriptor_);
}

bool NativeFile::keep(int result)
{
    error_ = result < 0 ? errno : 0;
    return result >= 0;
}

LightweightString<wchar_t> NativeFile::path()
{
    return path_;
}

std::int64_t NativeFile::read(void* buffer, std::size_t sizeBytes, std::uint64_t offset)
{
    char* const to = static_cast<char*>(buffer);
    std::size_t done = 0;
    while (done < sizeBytes)
    {
        const std::size_t part = std::min(sizeBytes - done, maxTransferBytes);
        const ssize_t count = retryInterrupted(
            [&]
            {
                return seeks_ ? ::pread(descriptor_, to + done, part, static_cast<off_t>(offset + done))
                              : ::read(descriptor_, to + done, part);
            });
        if (count < 0)
        {
            keep(-1);
            return -1;
        }
        if (count == 0)
            break;
        done += static_cast<std::size_t>(count);
    }
    error_ = 0;
    return static_cast<std::int64_t>(done);
}

std::int64_t NativeFile::write(const void* data, std::size_t sizeBytes, std::uint64_t offset)
{
    const char* const from = static_cast<const char*>(data);
    std::size_t done = 0;
    while (done < sizeBytes)
    {
        const std::size_t part = std::min(sizeBytes - done, maxTransferBytes);
        const ssize_t count = retryInterrupted(
            [&]
            {
                return seeks_ ? ::pwrite(descriptor_, from + done, part, static_cast<off_t>(offset + done))
                              : ::write(descriptor_, from + done, part);
            });
        if (count < 0)
        {
            keep(-1);
            return -1;
        }
        if (count == 0)
        {
            error_ = EIO; // nothing was taken and no reason given: going on would never end
            return -1;
        }
        done += static_cast<std::size_t>(count);
    }
    error_ = 0;
    return static_cast<std::int64_t>(done);
}

LightweightString<char> NativeFile::lastError()
{
    const int error = error_;
    char text[256];
    return error != 0 ? LightweightString<char>(::strerror_r(error, text, sizeof text)) : LightweightString<char>();
}

bool NativeFile::lock(eLock kind, eLockWait wait)
{
    const int operation = (kind == eLockExclusive ? LOCK_EX : LOCK_SH) | (wait == eTryLock ? LOCK_NB : 0);
    if (keep(retryInterrupted([&] { return ::flock(descriptor_, operation); })))
        return true;
    supportsLocks_ = error_ != ENOLCK && error_ != EOPNOTSUPP && error_ != ENOSYS;
    return false;
}

bool NativeFile::unlock()
{
    return keep(::flock(descriptor_, LOCK_UN));
}

bool NativeFile::flushToDisk()
{
    if (const int before = flushError_)
    {
        error_ = before;
        return false;
    }
    if (keep(retryInterrupted([&] { return ::fsync(descriptor_); })))
        return true;
    // What can't be flushed by its nature (a pipe, a terminal) holds nothing that could be lost.
    if (error_ == EINVAL)
    {
        error_ = 0;
        return true;
    }
    flushError_ = error_.load();
    return false;
}

bool NativeFile::truncate(std::uint64_t sizeBytes)
{
    return keep(retryInterrupted([&] { return ::ftruncate(descriptor_, static_cast<off_t>(sizeBytes)); }));
}

bool NativeFile::close()
{
    // Not tried again when interrupted: the descriptor is gone all the same, and its number may be
    // another file's by then.
    const int result = ::close(descriptor_);
    descriptor_ = -1;
    return keep(result < 0 && errno == EINTR ? 0 : result);
}

double NativeFile::modificationTime()
{
    struct stat info;
    if (!keep(::fstat(descriptor_, &info)))
        return 0;
    return static_cast<double>(info.st_mtim.tv_sec) + static_cast<double>(info.st_mtim.tv_nsec) * 1e-9;
}

bool NativeFile::setModificationTime(double seconds)
{
    const double whole = std::floor(seconds);
    const timespec times[2] = {
        {0, UTIME_OMIT},
        {static_cast<time_t>(whole), std::min(static_cast<long>((seconds - whole) * 1e9), 999'999'999L)}};
    return keep(::futimens(descriptor_, times));
}

unsigned NativeFile::mode()
{
    struct stat info;
    return keep(::fstat(descriptor_, &info)) ? info.st_mode & 07777u : 0;
}

bool NativeFile::setMode(unsigned mode)
{
    return keep(::fchmod(descriptor_, static_cast<mode_t>(mode)));
}

std::uint64_t NativeFile::size()
{
    struct stat info;
    return keep(::fstat(descriptor_, &info)) && S_ISREG(info.st_mode) ? static_cast<std::uint64_t>(info.st_size) : 0;
}

iFile::Identity NativeFile::identity()
{
    struct stat info;
    if (!keep(::fstat(descriptor_, &info)))
        return {};
    return {info.st_dev, info.st_ino};
}

bool NativeFile::isOpen()
{
    return descriptor_ >= 0;
}

unsigned NativeFile::getCaps()
{
    return seeks_ ? eCapSeek | eCapResize : eNoCaps;
}

bool NativeFile::reserve(std::uint64_t sizeBytes)
{
    // Not posix_fallocate, which where the disk can't reserve writes zeros instead.
    return keep(retryInterrupted(
        [&] { return ::fallocate(descriptor_, FALLOC_FL_KEEP_SIZE, 0, static_cast<off_t>(sizeBytes)); }));
}

bool NativeFile::startFlush(std::uint64_t offset, std::uint64_t sizeBytes)
{
    return keep(::sync_file_range(descriptor_, static_cast<off_t>(offset), static_cast<off_t>(sizeBytes),
                                  SYNC_FILE_RANGE_WRITE));
}
