#include "misc/base/ByteBufferImpl.h"

#include "Mw/Exception.h"
#include "OS/OS.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <zlib.h>

namespace
{

// The length of the contents, then the zlib stream.
constexpr std::size_t headerBytes = 8;

// No zlib stream holds more than this for each of its bytes.
constexpr std::uint64_t largestRatio = 1032;

void putLength(unsigned char* out, std::uint64_t length)
{
    for (std::size_t i = 0; i < headerBytes; ++i)
        out[i] = static_cast<unsigned char>(length >> (8 * i));
}

std::uint64_t lengthAt(const unsigned char* in)
{
    std::uint64_t length = 0;
    for (std::size_t i = 0; i < headerBytes; ++i)
        length |= std::uint64_t{in[i]} << (8 * i);
    return length;
}

constexpr const char* noMemory = "No memory to restore a compressed block";

// What is wrong with a stream of `sizeBytes` that is to give exactly what `out` has room for; null if it
// was restored.
const char* restore(const unsigned char* stream, std::size_t sizeBytes, ByteBufferImpl& out)
{
    // With the spare byte behind the capacity zlib can tell a block that holds more from one that is cut.
    uLongf restoredBytes = out.capacity() + 1;
    uLong usedBytes = sizeBytes;
    switch (::uncompress2(out.data(), &restoredBytes, stream, &usedBytes))
    {
    case Z_OK:
        break;
    case Z_BUF_ERROR:
        return "Compressed block holds more than it declares";
    case Z_MEM_ERROR:
        return noMemory;
    default:
        return "Compressed block is damaged or cut";
    }
    if (restoredBytes > out.capacity())
        return "Compressed block holds more than it declares";
    if (restoredBytes != out.capacity())
        return "Compressed block holds less than it declares";
    if (usedBytes != sizeBytes)
        return "Compressed block is followed by other bytes";
    out.setLength(restoredBytes);
    return nullptr;
}

} // namespace

ByteBufferImpl::ByteBufferImpl(std::size_t capacityBytes)
    : bytes_(static_cast<unsigned char*>(OS().allocator().allocate(capacityBytes + 1))), capacity_(capacityBytes),
      length_(0)
{
}

ByteBufferImpl::ByteBufferImpl(const void* bytes, std::size_t lengthBytes) : ByteBufferImpl(lengthBytes)
{
    if (lengthBytes != 0)
        std::memcpy(bytes_, bytes, lengthBytes);
    length_ = lengthBytes;
}

ByteBufferImpl::~ByteBufferImpl()
{
    OS().allocator().release(bytes_);
}

ByteBuffer ByteBufferImpl::compressed() const
{
    uLongf streamBytes = ::compressBound(length_);
    const ByteBuffer block(new ByteBufferImpl(headerBytes + streamBytes));
    putLength(block->data(), length_);
    if (::compress(block->data() + headerBytes, &streamBytes, bytes_, length_) != Z_OK)
        throw Mw::Exception::BadAlloc("no memory to compress", "misc/ByteBufferImpl", __LINE__);
    block->setLength(headerBytes + streamBytes);
    return block;
}

ByteBuffer ByteBufferImpl::restored(const void* block, std::size_t sizeBytes, LightweightString<char>* error)
{
    const auto* const bytes = static_cast<const unsigned char*>(block);
    const char* wrong = nullptr;
    ByteBuffer buffer;
    if (sizeBytes < headerBytes)
        wrong = "Compressed block is damaged or cut";
    else if (lengthAt(bytes) > (sizeBytes - headerBytes) * largestRatio)
        wrong = "Compressed block declares more than it can hold";
    else
    {
        try
        {
            buffer = ByteBuffer(new ByteBufferImpl(lengthAt(bytes)));
            wrong = restore(bytes + headerBytes, sizeBytes - headerBytes, *buffer);
        }
        catch (const Mw::Exception::BadAlloc&)
        {
            wrong = noMemory;
        }
    }
    if (error != nullptr)
        *error = wrong;
    return wrong == nullptr ? buffer : ByteBuffer();
}
