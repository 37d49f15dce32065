#include "misc/persistence/StreamFile.h"

#include "Mw/Assert.h"
#include "OS/FileMgr.h"
#include "OS/OS.h"
#include "libmw/Text.h"
#include "misc/diagnostics/Log.h"

#include <atomic>

namespace
{

using Path = LightweightString<wchar_t>;

constexpr std::size_t smallestCacheBytes = 512;
// What a writer keeps before it hands it on to the file beside: little enough to stay near the processor.
constexpr std::size_t writeBehindBytes = 320 * 1024;
// The part of it that stays, for writers that go back to the header of what they wrote.
constexpr std::size_t keptUnwrittenBytes = 32 * 1024;
// Writing goes in pieces of this size at multiples of it: the system finds memory in one for each, which for larger
// ones may be hard to find.
constexpr std::size_t pieceBytes = 64 * 1024;
// A file that passes the writer's cache takes as much room ahead as it has, within these bounds.
constexpr std::uint64_t leastRoomBytes = 1024 * 1024;
constexpr std::uint64_t mostRoomBytes = 64 * 1024 * 1024;
// So much at a time is sent on its way to the disk while the rest is written.
constexpr std::uint64_t startFlushBytes = 1024 * 1024;
// What is read when nobody has said how much will be needed.
constexpr std::size_t readAheadBytes = 64 * 1024;
// How much of what was read is kept, for readers that go back a little.
constexpr std::size_t keptBehindBytes = 8 * 1024;

// Lost races for the TMP file before giving up: each means that another writer was quicker.
constexpr int besideAttempts = 16;
constexpr const char* otherWriter = "another writer is at it";
constexpr const char* noFile = "no file is open";

void report(const char* failure, const Path& path, const LightweightString<char>& reason)
{
    LightweightString<char> line = "StreamFile : could not ";
    line += failure;
    line += ' ';
    line += toUTF8(path);
    line += ": ";
    line += reason;
    line += '\n';
    LogString(line.c_str());
}

Path besideName(const Path& target)
{
    return target + L".TMP";
}

// Whether the name leads to this very file, and not to one that took its place.
bool isNamed(iFile& file, const Path& name)
{
    const Mw::Ptr<iFile> named = OS().fileMgr().openFile(name);
    return named->isOpen() && named->identity() == file.identity();
}

// False if another holds the lock. Where the disk knows none, writers can't be told apart, and each goes on.
bool lockIfPossible(iFile& file)
{
    static std::atomic<bool> said{false};
    if (file.lock(iFile::eLockExclusive, iFile::eTryLock))
        return true;
    if (file.supportsLocks())
        return false;
    if (!said.exchange(true))
        LogString(("StreamFile : the disk knows no file locks, two writers of one file are not told apart: " +
                   toUTF8(file.path()) + "\n")
                      .c_str());
    return true;
}

// A file for locking it: what a writer left may have the permissions of a file that is only read.
Mw::Ptr<iFile> openToLock(const Path& name)
{
    const Mw::Ptr<iFile> file = OS().fileMgr().openFile(name, iFile::eWrite);
    return file->isOpen() ? file : OS().fileMgr().openFile(name);
}

// Removes a TMP file that no living writer holds. False, with the reason in `reason`, if one does.
bool removeAbandoned(const Path& name, LightweightString<char>& reason)
{
    iFileMgr& files = OS().fileMgr();
    const Mw::Ptr<iFile> left = openToLock(name);
    if (!left->isOpen())
    {
        reason = left->lastError();
        return !files.exists(name);
    }
    if (!lockIfPossible(*left))
    {
        reason = otherWriter;
        return false;
    }
    if (!isNamed(*left, name) || files.remove(name))
        return true;
    reason = files.lastError();
    return false;
}

} // namespace

StreamFile::~StreamFile()
{
    discardBeside();
    OS().allocator().release(cache_);
}

bool StreamFile::fail(const LightweightString<char>& reason)
{
    // What follows from the first failure would hide it.
    if (!failed_)
        error_ = reason;
    return false;
}

bool StreamFile::open(const Path& given, iFile::eOpenBehaviour behaviour)
{
    const Path path = given; // may be our own, which close() clears
    close();
    iFileMgr& files = OS().fileMgr();
    target_ = files.resolve(path);
    if (target_.empty())
        return fail(files.lastError());
    if (!(behaviour == iFile::eOpenExisting || behaviour == iFile::eOpenAlways ? openSource(behaviour)
                                                                               : openToCreate(behaviour)))
        return false;
    path_ = path;
    return true;
}

bool StreamFile::openSource(iFile::eOpenBehaviour behaviour)
{
    iFileMgr& files = OS().fileMgr();
    if (behaviour == iFile::eOpenAlways)
    {
        const std::optional<iFileMgr::Status> there = files.status(target_);
        if (!there)
            return fail(files.lastError());
        if (!there->exists)
        {
            changed_ = mustBeNew_ = true;
            return true;
        }
    }
    const Mw::Ptr<iFile> file = files.openFile(target_);
    if (!file->isOpen())
        return fail(file->lastError());
    source_ = file;
    fileSize_ = file->size();
    // A size that can't be told is no empty file, which the next flush would put in its place.
    if (const LightweightString<char> reason = file->lastError(); fileSize_ == 0 && !reason.empty())
    {
        source_ = nullptr;
        return fail(reason);
    }
    return true;
}

bool StreamFile::openToCreate(iFile::eOpenBehaviour behaviour)
{
    iFileMgr& files = OS().fileMgr();
    if (files.isDirectory(target_))
        return fail("is a directory");
    mustBeNew_ = behaviour == iFile::eCreateNew;
    changed_ = openBeside();
    return changed_;
}

void StreamFile::close()
{
    discardBeside();
    OS().allocator().release(cache_);
    cache_ = nullptr;
    cachePos_ = cacheEnd_ = writableEnd_ = capacity_ = 0;
    windowStart_ = fileSize_ = 0;
    path_.clear();
    target_.clear();
    source_.reset();
    changed_ = mustBeNew_ = failed_ = false;
    error_.clear();
}

bool StreamFile::flush()
{
    if (!isOpen())
        return fail(noFile);
    if (!changed_)
        return true;
    if (!failed_ && (beside_ || openBeside()) && writeBeside() && putInPlace())
    {
        changed_ = mustBeNew_ = false;
        return true;
    }
    failed_ = true;
    discardBeside();
    report("replace", path_, error_);
    return false;
}

bool StreamFile::openBeside()
{
    iFileMgr& files = OS().fileMgr();
    const Path name = besideName(target_);
    const std::optional<iFileMgr::Status> old = files.status(target_);
    if (!old)
        return fail(files.lastError());
    // Never open to more people than the file that it will be; we must be able to look at it.
    const unsigned mode = old->exists ? old->mode | 0600u : 0666u;
    for (int attempt = 0; attempt < besideAttempts; ++attempt)
    {
        const Mw::Ptr<iFile> file =
            files.openFile(name, iFile::eReadWrite, iFile::eCreateNew, iFile::eShareAll, iFile::eNoHints, mode);
        // Before it was locked, another writer may have taken it for one that was left.
        if (file->isOpen() && lockIfPossible(*file) && isNamed(*file, name))
        {
            beside_ = file;
            roomEnd_ = flushStarted_ = 0;
            if (takeMode())
                return true;
            discardBeside();
            return false;
        }
        if (!file->isOpen() && !files.exists(name))
            return fail(file->lastError());
        LightweightString<char> reason;
        if (!file->isOpen() && !removeAbandoned(name, reason))
            return fail(reason);
    }
    return fail(otherWriter);
}

bool StreamFile::takeMode()
{
    const std::optional<iFileMgr::Status> old = OS().fileMgr().status(target_);
    if (!old)
        return fail(OS().fileMgr().lastError());
    if (old->exists && mustBeNew_)
        return fail("the file exists");
    return !old->exists || beside_->setMode(old->mode) || fail(beside_->lastError());
}

bool StreamFile::writeBeside()
{
    if (!takeMode())
        return false;
    writeBehind();
    if (roomEnd_ > fileSize_)
        beside_->truncate(fileSize_); // room that stays is no reason to fail
    return !failed_ && (beside_->flushToDisk() || fail(beside_->lastError()));
}

bool StreamFile::putInPlace()
{
    iFileMgr& files = OS().fileMgr();
    // The lock is held up to here, so that the name beside is no other writer's.
    if (!beside_->supportsLocks() && !isNamed(*beside_, besideName(target_)))
        return fail(otherWriter);
    if (!files.rename(besideName(target_), target_))
        return fail(files.lastError());
    beside_->unlock();
    source_ = std::move(beside_);
    return files.syncDirectory(Mw::directoryOf(target_)) || fail(files.lastError());
}

void StreamFile::discardBeside()
{
    if (!beside_)
        return;
    if (beside_->supportsLocks() || isNamed(*beside_, besideName(target_)))
        OS().fileMgr().remove(besideName(target_));
    beside_.reset();
}

void StreamFile::moveWindow(std::uint64_t position)
{
    position = std::min(position, size());
    if (position < windowStart_ || position > windowStart_ + cacheEnd_)
        dropWindow(position);
    cachePos_ = static_cast<std::size_t>(position - windowStart_);
}

void StreamFile::dropWindow(std::uint64_t start)
{
    writeBehind();
    windowStart_ = start;
    cachePos_ = cacheEnd_ = 0;
}

void StreamFile::dropPassed(std::size_t keptBytes)
{
    writeBehind();
    const std::size_t passed = cachePos_ - std::min(keptBytes, cachePos_);
    std::memmove(cache_, cache_ + passed, cacheEnd_ - passed);
    windowStart_ += passed;
    cachePos_ -= passed;
    cacheEnd_ -= passed;
}

void StreamFile::writeBehind()
{
    if (writableEnd_ == 0)
        return;
    writableEnd_ = 0;
    writeOut(cacheEnd_);
}

void StreamFile::writeOut(std::size_t count)
{
    std::size_t part = 0;
    for (std::size_t done = 0; done != count && !failed_; done += part)
    {
        part = std::min(count - done, pieceBytes);
        if (beside_ && beside_->write(cache_ + done, part, windowStart_ + done) == static_cast<std::int64_t>(part))
            continue;
        fail(beside_ ? beside_->lastError() : noFile);
        failed_ = true;
    }
    fileSize_ = std::max(fileSize_, windowStart_ + count);
}

void StreamFile::writePassed()
{
    if (cachePos_ < keptUnwrittenBytes)
        return;
    const std::uint64_t end = (position() - keptUnwrittenBytes) / pieceBytes * pieceBytes;
    if (end <= windowStart_)
        return;
    if (end > roomEnd_)
    {
        roomEnd_ = end + std::clamp(end, leastRoomBytes, mostRoomBytes);
        beside_->reserve(roomEnd_);
    }
    const auto count = static_cast<std::size_t>(end - windowStart_);
    writeOut(count);
    std::memmove(cache_, cache_ + count, cacheEnd_ - count);
    windowStart_ = end;
    cachePos_ -= count;
    cacheEnd_ -= count;
    if (end - std::min(flushStarted_, end) < startFlushBytes)
        return;
    beside_->startFlush(flushStarted_, end - flushStarted_);
    flushStarted_ = end;
}

void StreamFile::cacheForward(std::uint64_t end)
{
    if (windowStart_ + cacheEnd_ >= std::min(end, fileSize_))
        return;
    if (cachePos_ > 2 * keptBehindBytes)
        dropPassed(keptBehindBytes);
    extendWindow(end);
}

void StreamFile::setPosition(std::uint64_t position, std::string_view bytes)
{
    dropWindow(std::min(position, size()));
    if (!source_ || position + bytes.size() > fileSize_)
        return;
    reserve(bytes.size());
    std::copy(bytes.begin(), bytes.end(), cache_);
    cacheEnd_ = bytes.size();
}

void StreamFile::extendWindow(std::uint64_t end)
{
    const std::uint64_t windowEnd = windowStart_ + cacheEnd_;
    end = std::min(end, fileSize_);
    if (end <= windowEnd)
        return;
    const auto count = static_cast<std::size_t>(end - windowEnd);
    reserve(cacheEnd_ + count);
    iFile* const file = source_ ? source_.get() : beside_.get();
    const std::int64_t read = file != nullptr ? file->read(cache_ + cacheEnd_, count, windowEnd) : -1;
    if (read < 0)
    {
        fail(file != nullptr ? file->lastError() : noFile);
        report("read", path_, error_);
        failed_ = true;
    }
    cacheEnd_ += static_cast<std::size_t>(std::max<std::int64_t>(read, 0));
    // A file that ends early, by a fault or because another cut it, ends there for good.
    if (windowStart_ + cacheEnd_ < end)
        fileSize_ = windowStart_ + cacheEnd_;
}

std::size_t StreamFile::available(std::uint64_t count)
{
    if (count > cacheEnd_ - cachePos_)
        cacheForward(position() + std::max<std::uint64_t>(count, readAheadBytes));
    return static_cast<std::size_t>(std::min<std::uint64_t>(count, cacheEnd_ - cachePos_));
}

void StreamFile::reserve(std::size_t capacity)
{
    if (capacity <= capacity_)
        return;
    const std::size_t grown = std::max({capacity, 2 * capacity_, smallestCacheBytes});
    cache_ = static_cast<unsigned char*>(OS().allocator().reallocate(cache_, grown));
    capacity_ = grown;
}

void StreamFile::prepareWrite(std::size_t count)
{
    if (source_)
        takeWhole();
    if (beside_ && cachePos_ + count > writeBehindBytes)
    {
        if (writableEnd_ == 0)
            dropPassed(0);
        else
            writePassed();
    }
    reserve(cachePos_ + count);
    writableEnd_ = capacity_;
    changed_ = true;
}

void StreamFile::takeWhole()
{
    const std::uint64_t place = position();
    if (windowStart_ != 0)
        dropWindow(0);
    extendWindow(fileSize_);
    source_.reset();
    fileSize_ = 0;
    setPosition(place);
}

unsigned StreamFile::writeInParts(const void* bytes, unsigned lengthBytes)
{
    const auto* from = static_cast<const unsigned char*>(bytes);
    for (std::size_t left = lengthBytes; left != 0;)
    {
        const std::size_t part = std::min(left, pieceBytes);
        if (cachePos_ + part > writableEnd_)
            prepareWrite(part);
        std::memcpy(cache_ + cachePos_, from, part);
        cachePos_ += part;
        cacheEnd_ = std::max(cacheEnd_, cachePos_);
        from += part;
        left -= part;
    }
    return lengthBytes;
}

bool StreamFile::readBinary(GrowString& text, bool counted)
{
    if (!isOpen() && cache_ == nullptr)
        return false;
    unsigned length = 0;
    if (counted)
    {
        get(length);
        text.append(take(available(length)));
        return true;
    }
    text.append(readText());
    return true;
}

std::string_view StreamFile::readText()
{
    if (const std::size_t length = cached().find('\0'); length != std::string_view::npos)
    {
        const std::string_view text = take(length);
        ++cachePos_;
        return text;
    }
    std::size_t scanned = 0;
    for (std::size_t there = available(1); there != scanned; there = available(scanned + 1))
    {
        there = cacheEnd_ - cachePos_;
        const unsigned char* const from = cache_ + cachePos_;
        if (const void* const zero = std::memchr(from + scanned, 0, there - scanned))
        {
            const std::string_view text =
                take(static_cast<std::size_t>(static_cast<const unsigned char*>(zero) - from));
            ++cachePos_;
            return text;
        }
        scanned = there;
    }
    return take(scanned);
}

bool StreamFile::readBinary(unsigned char* out, unsigned lengthBytes, bool raw)
{
    if (!raw)
    {
        unsigned length = 0;
        if (!get(length))
            return false;
        if (length != lengthBytes)
        {
            MW_ASSERT(false);
            return false;
        }
    }
    const std::size_t count = available(lengthBytes);
    if (count != 0)
        std::memcpy(out, cache_ + cachePos_, count);
    cachePos_ += count;
    return count == lengthBytes;
}
