#pragma once

#include "OS/File.h"

#include <vector>

// A cursor and a buffer over any file. What is read and written at given places goes past the buffer,
// after it has been handed on.
class OS_API StreamingFile : public iStreamingFile
{
public:
    explicit StreamingFile(const Mw::Ptr<iFile>& file);
    // Hands on what is buffered; only flushBuffer and close can tell that this failed.
    ~StreamingFile() override;

    LightweightString<wchar_t> path() override { return file_->path(); }
    std::int64_t read(void* buffer, std::size_t sizeBytes, std::uint64_t offset) override;
    // After close, why bytes that it handed on were lost, if they were.
    LightweightString<char> lastError() override { return lost_.empty() ? file_->lastError() : lost_; }
    // Forgets what was read ahead: whoever held the lock before may have changed it.
    bool lock(eLock kind, eLockWait wait) override;
    bool unlock() override { return flushBuffer() && file_->unlock(); }
    std::int64_t write(const void* data, std::size_t sizeBytes, std::uint64_t offset) override;
    bool flushToDisk() override { return flushBuffer() && file_->flushToDisk(); }
    bool truncate(std::uint64_t sizeBytes) override;
    bool close() override;
    double modificationTime() override { return file_->modificationTime(); }
    bool setModificationTime(double seconds) override;
    unsigned mode() override { return file_->mode(); }
    bool setMode(unsigned mode) override { return file_->setMode(mode); }
    std::uint64_t size() override;
    Identity identity() override { return file_->identity(); }
    bool isOpen() override { return file_->isOpen(); }
    unsigned getCaps() override { return file_->getCaps(); }
    bool reserve(std::uint64_t sizeBytes) override { return file_->reserve(sizeBytes); }
    bool startFlush(std::uint64_t offset, std::uint64_t sizeBytes) override
    {
        return flushBuffer() && file_->startFlush(offset, sizeBytes);
    }

    std::int64_t readNext(void* buffer, std::size_t sizeBytes) override;
    bool readLine(LightweightString<char>& line) override;
    std::int64_t writeNext(const void* data, std::size_t sizeBytes) override;
    bool flushBuffer() override;
    std::uint64_t position() override;
    bool setPosition(std::uint64_t offset) override;
    bool atEnd() override { return atEnd_; }
    Mw::Ptr<iFile> file() override { return file_; }

private:
    // Puts the next bytes of the file into the empty buffer; 0 at the end, -1 on failure.
    std::int64_t fill();
    void forgetRead();
    // Starts again at a place, with an empty buffer.
    void startAt(std::uint64_t offset);

    Mw::Ptr<iFile> file_;
    // Either bytes that were read ahead, of which next_ are used up, or bytes that wait to be written.
    std::vector<char> buffer_;
    std::size_t next_ = 0;
    bool writing_ = false;
    std::uint64_t bufferOffset_ = 0; // where the buffer's first byte stands in the file
    bool atEnd_ = false;
    LightweightString<char> lost_;
};
