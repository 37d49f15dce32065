#include "misc/persistence/InputStream.h"

#include "Mw/Exception.h"
#include "OS/FileMgr.h"
#include "OS/OS.h"
#include "libmw/Text.h"

#include <cstring>

bool BufferInputStream::isValid() const
{
    return base_ != nullptr;
}

void BufferInputStream::reset()
{
    cursor_ = base_;
}

unsigned char BufferInputStream::readUChar()
{
    return cursor_ != nullptr ? *cursor_++ : 0;
}

unsigned BufferInputStream::readUChars(unsigned count, unsigned char* out)
{
    if (cursor_ == nullptr)
        return 0;
    std::memcpy(out, cursor_, count);
    cursor_ += count;
    return count;
}

void BufferInputStream::skipBytes(unsigned count)
{
    if (cursor_ != nullptr)
        cursor_ += count;
}

SimpleFileInputStream::SimpleFileInputStream(const LightweightString<char>& path)
{
    open(fromUTF8(path));
}

SimpleFileInputStream::SimpleFileInputStream(const LightweightString<wchar_t>& path)
{
    open(path);
}

bool SimpleFileInputStream::open(const LightweightString<wchar_t>& path)
{
    block_.reset();
    base_ = cursor_ = nullptr;
    size_ = 0;
    const Mw::Ptr<iFile> file =
        OS().fileMgr().openFile(path, iFile::eRead, iFile::eOpenExisting, iFile::eShareAll, iFile::eSequential);
    if (!file->isOpen())
        return false;
    const std::uint64_t size = file->size();
    if (size == 0 && !file->lastError().empty())
        return false;
    const ByteBuffer block(new ByteBufferImpl(size));
    const std::int64_t count = file->read(block->data(), block->capacity(), 0);
    if (count < 0)
        return false;
    block->setLength(static_cast<std::size_t>(count));
    block_ = block;
    base_ = cursor_ = block_->data();
    size_ = block_->length();
    return true;
}

bool SimpleFileInputStream::isValid() const
{
    return base_ != nullptr;
}

void SimpleFileInputStream::reset()
{
    cursor_ = base_;
}

unsigned char SimpleFileInputStream::readUChar()
{
    checkRead(1);
    return *cursor_++;
}

unsigned SimpleFileInputStream::readUChars(unsigned count, unsigned char* out)
{
    checkRead(count);
    if (count != 0)
        std::memcpy(out, cursor_, count);
    cursor_ += count;
    return count;
}

void SimpleFileInputStream::skipBytes(unsigned count)
{
    checkRead(count);
    cursor_ += count;
}

void SimpleFileInputStream::checkRead(unsigned count) const
{
    if (cursor_ == nullptr || static_cast<std::size_t>(cursor_ - base_) + count > size_)
        throw Mw::Exception::LogicError("eof", "misc/inpstream", 99);
}
