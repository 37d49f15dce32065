#pragma once

#include "Mw/LightweightString.h"
#include "OS/Export.h"
#include "misc/base/ByteBufferImpl.h"

#include <cstddef>

// A cursor over a block of memory that is only read. One thread at a time.
class MISC_API InputStream
{
public:
    // Whether there is a block.
    virtual bool isValid() const = 0;
    // Goes back to the start.
    virtual void reset() = 0;
    virtual unsigned char readUChar() = 0;
    // Copies `count` bytes and gives their number.
    virtual unsigned readUChars(unsigned count, unsigned char* out) = 0;
    virtual void skipBytes(unsigned count) = 0;

protected:
    InputStream() = default;
    InputStream(const InputStream&) = default;
    InputStream& operator=(const InputStream&) = default;
    ~InputStream() = default;
};

// Over a block of the caller's, who keeps it alive and stays within its bounds: nothing is checked. On a
// null block reads give 0.
class MISC_API BufferInputStream final : public InputStream
{
public:
    explicit BufferInputStream(const unsigned char* block) noexcept : base_(block), cursor_(block) {}

    bool isValid() const override;
    void reset() override;
    unsigned char readUChar() override;
    unsigned readUChars(unsigned count, unsigned char* out) override;
    void skipBytes(unsigned count) override;

private:
    const unsigned char* base_;
    const unsigned char* cursor_;
};

// Over the contents of a file, which are read into memory at once. What would pass the end throws
// Mw::Exception::LogicError "eof" and moves nothing, and so does reading without a file.
class MISC_API SimpleFileInputStream final : public InputStream
{
public:
    SimpleFileInputStream() = default;
    explicit SimpleFileInputStream(const LightweightString<char>& path);
    explicit SimpleFileInputStream(const LightweightString<wchar_t>& path);

    // Lets go of the file before. False if the file can't be opened or read whole; isValid() then says no.
    bool open(const LightweightString<wchar_t>& path);

    bool isValid() const override;
    void reset() override;
    unsigned char readUChar() override;
    unsigned readUChars(unsigned count, unsigned char* out) override;
    void skipBytes(unsigned count) override;

    // In bytes.
    std::size_t size() const noexcept { return size_; }

private:
    void checkRead(unsigned count) const;

    ByteBuffer block_;
    const unsigned char* base_ = nullptr;
    const unsigned char* cursor_ = nullptr;
    std::size_t size_ = 0;
};
