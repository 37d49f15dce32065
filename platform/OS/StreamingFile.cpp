#include "OS/StreamingFile.h"

#include <algorithm>
#include <cstring>

namespace
{

constexpr std::size_t bufferBytes = 64 * 1024;

} // namespace

StreamingFile::StreamingFile(const Mw::Ptr<iFile>& file) : file_(file) {}

StreamingFile::~StreamingFile()
{
    flushBuffer();
}

std::int64_t StreamingFile::read(void* buffer, std::size_t sizeBytes, std::uint64_t offset)
{
    return flushBuffer() ? file_->read(buffer, sizeBytes, offset) : -1;
}

std::int64_t StreamingFile::write(const void* data, std::size_t sizeBytes, std::uint64_t offset)
{
    if (!flushBuffer())
        return -1;
    forgetRead();
    return file_->write(data, sizeBytes, offset);
}

bool StreamingFile::truncate(std::uint64_t sizeBytes)
{
    if (!flushBuffer())
        return false;
    forgetRead();
    return file_->truncate(sizeBytes);
}

bool StreamingFile::lock(eLock kind, eLockWait wait)
{
    if (!flushBuffer() || !file_->lock(kind, wait))
        return false;
    forgetRead();
    return true;
}

bool StreamingFile::close()
{
    const bool flushed = flushBuffer();
    lost_ = flushed ? LightweightString<char>() : file_->lastError();
    startAt(position());
    return file_->close() && flushed;
}

bool StreamingFile::setModificationTime(double seconds)
{
    return flushBuffer() && file_->setModificationTime(seconds);
}

std::uint64_t StreamingFile::size()
{
    const std::uint64_t written = writing_ ? bufferOffset_ + buffer_.size() : 0;
    return std::max(file_->size(), written);
}

std::int64_t StreamingFile::fill()
{
    bufferOffset_ += buffer_.size();
    next_ = 0;
    buffer_.resize(bufferBytes);
    const std::int64_t count = file_->read(buffer_.data(), buffer_.size(), bufferOffset_);
    buffer_.resize(static_cast<std::size_t>(std::max<std::int64_t>(count, 0)));
    if (count == 0)
        atEnd_ = true;
    return count;
}

void StreamingFile::forgetRead()
{
    startAt(bufferOffset_ + next_);
}

void StreamingFile::startAt(std::uint64_t offset)
{
    bufferOffset_ = offset;
    next_ = 0;
    writing_ = false;
    buffer_.clear();
}

std::int64_t StreamingFile::readNext(void* buffer, std::size_t sizeBytes)
{
    if (writing_ && !flushBuffer())
        return -1;
    atEnd_ = false;
    char* const to = static_cast<char*>(buffer);
    const std::uint64_t start = position();
    std::size_t done = 0;
    while (done < sizeBytes)
    {
        if (next_ == buffer_.size())
        {
            const std::int64_t count = fill();
            if (count < 0)
            {
                startAt(start);
                return -1;
            }
            if (count == 0)
                break;
        }
        const std::size_t part = std::min(sizeBytes - done, buffer_.size() - next_);
        std::memcpy(to + done, buffer_.data() + next_, part);
        next_ += part;
        done += part;
    }
    return static_cast<std::int64_t>(done);
}

bool StreamingFile::readLine(LightweightString<char>& line)
{
    line = LightweightString<char>();
    if (writing_ && !flushBuffer())
        return false;
    atEnd_ = false;
    const std::uint64_t start = position();
    bool any = false;
    for (;;)
    {
        if (next_ == buffer_.size())
        {
            const std::int64_t count = fill();
            if (count < 0)
            {
                startAt(start);
                line = LightweightString<char>();
                return false;
            }
            if (count == 0)
                break;
        }
        any = true;
        const char* const from = buffer_.data() + next_;
        const std::size_t left = buffer_.size() - next_;
        const char* const end = static_cast<const char*>(std::memchr(from, '\n', left));
        const std::size_t part = end != nullptr ? static_cast<std::size_t>(end - from) : left;
        line.append(from, static_cast<unsigned>(part));
        next_ += end != nullptr ? part + 1 : part;
        if (end != nullptr)
            break;
    }
    if (const unsigned length = line.length(); length > 0 && line.c_str()[length - 1] == '\r')
        line = line.substr(0, length - 1);
    return any;
}

std::int64_t StreamingFile::writeNext(const void* data, std::size_t sizeBytes)
{
    if (!writing_)
        forgetRead();
    writing_ = true;
    const char* const from = static_cast<const char*>(data);
    buffer_.insert(buffer_.end(), from, from + sizeBytes);
    if (buffer_.size() >= bufferBytes && !flushBuffer())
        return -1;
    return static_cast<std::int64_t>(sizeBytes);
}

bool StreamingFile::flushBuffer()
{
    if (!writing_)
        return true;
    const std::int64_t count = file_->write(buffer_.data(), buffer_.size(), bufferOffset_);
    if (count != static_cast<std::int64_t>(buffer_.size()))
        return false;
    bufferOffset_ += buffer_.size();
    buffer_.clear();
    writing_ = false;
    return true;
}

std::uint64_t StreamingFile::position()
{
    return bufferOffset_ + (writing_ ? buffer_.size() : next_);
}

bool StreamingFile::setPosition(std::uint64_t offset)
{
    if (!flushBuffer())
        return false;
    startAt(offset);
    atEnd_ = false;
    return true;
}
