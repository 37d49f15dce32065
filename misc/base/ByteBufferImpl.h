#pragma once

#include "Mw/LightweightString.h"
#include "Mw/Ptr.h"
#include "OS/Export.h"

#include <cstddef>

// A counted block of bytes with room for `capacity` of them, of which the first `length` are in use. The
// bytes live with the last Ptr. Any thread may hold it; the contents are one thread's at a time.
//
// A block can be stored in compressed form, as docs/formats.md draws it.
class MISC_API ByteBufferImpl : public iObject
{
public:
    // The bytes are uninitialised and none is in use.
    explicit ByteBufferImpl(std::size_t capacityBytes);
    // A copy of the bytes, all in use.
    ByteBufferImpl(const void* bytes, std::size_t lengthBytes);
    ~ByteBufferImpl() override;
    ByteBufferImpl(const ByteBufferImpl&) = delete;
    ByteBufferImpl& operator=(const ByteBufferImpl&) = delete;

    // Never null.
    unsigned char* data() noexcept { return bytes_; }
    const unsigned char* data() const noexcept { return bytes_; }
    std::size_t capacity() const noexcept { return capacity_; }
    std::size_t length() const noexcept { return length_; }

    // A length above the capacity is cut to it.
    void setLength(std::size_t lengthBytes) noexcept { length_ = lengthBytes < capacity_ ? lengthBytes : capacity_; }

    // The bytes in use in compressed form.
    Mw::Ptr<ByteBufferImpl> compressed() const;

    // What was stored in compressed form. A block that is damaged, cut, followed by other bytes, or that
    // holds more or less than it declares gives null, and `error`, if given, says what is wrong. Nothing
    // is allocated for a size that so few bytes can't hold; one that there is no memory for gives null, too.
    static Mw::Ptr<ByteBufferImpl> restored(const void* block, std::size_t sizeBytes,
                                            LightweightString<char>* error = nullptr);

private:
    unsigned char* bytes_;
    std::size_t capacity_;
    std::size_t length_;
};

using ByteBuffer = Mw::Ptr<ByteBufferImpl>;
