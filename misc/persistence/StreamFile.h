#pragma once

#include "Mw/LightweightString.h"
#include "Mw/Ptr.h"
#include "OS/Export.h"
#include "OS/File.h"
#include "misc/base/GrowString.h"

#include <algorithm>
#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

// What a stream stores in its own width, little-endian.
template <class T>
concept StreamPrimitive = std::same_as<T, char> || std::same_as<T, unsigned char> || std::same_as<T, short> ||
    std::same_as<T, unsigned short> || std::same_as<T, int> || std::same_as<T, unsigned int> || std::same_as<T, long> ||
    std::same_as<T, unsigned long> || std::same_as<T, float> || std::same_as<T, double>;

// A file of stored objects behind a cache: primitives are written to the cache and read from it at one
// position, and `flush` puts the whole in the file's place. A reader of the file sees the contents before
// or after a flush, never others.
//
// The cache is a window on the file, which is read as far as it is asked for. A file that is created is
// written behind the cache to PATH.TMP; one that was opened comes into the cache whole with the first
// write. Without a file the cache alone is the stream, in memory.
//
// PATH.TMP is locked from `open` with eCreateNew or eCreateAlways, else during `flush`, until it is in the
// file's place or this object ends: so of two writers the second fails. What a writer that died left there
// is removed. Symbolic links stay, and their target is replaced with its permissions, which PATH.TMP has
// from the start.
//
// Stored bytes never lead outside the cache. A number that the end of the file cuts keeps its value, a
// text or a block is what is there, and the position is then the end. One thread at a time.
class MISC_API StreamFile
{
public:
    // A stream in memory.
    StreamFile() = default;
    // Lets go of what was not flushed; the file stays what it was.
    ~StreamFile();
    StreamFile(const StreamFile&) = delete;
    StreamFile& operator=(const StreamFile&) = delete;

    // Closes what was open and opens the file. False, with the reason in `lastError`, if there is none
    // to open or one where there should be none, if it can't be read, or if another writer is at it. A
    // file that was not there is not replaced if it is there by the time of `flush`.
    bool open(const LightweightString<wchar_t>& path, iFile::eOpenBehaviour behaviour);
    // Lets go of the file and of what was not flushed: an empty stream in memory.
    void close();

    bool isOpen() const noexcept { return !path_.empty(); }
    const LightweightString<wchar_t>& path() const noexcept { return path_; }

    // Writes the contents beside the file, to the disk, and puts them in its place. Does nothing if
    // nothing was written since the last time. On failure the old file stands (the new one, if only its
    // directory could not be flushed), the log and `lastError` say why, and nothing but opening anew helps:
    // what the system could not write may be gone.
    bool flush();

    // Whether the file under the path is one that this stream has read or put there, as it may be after a flush
    // that failed.
    bool isInPlace() const noexcept { return static_cast<bool>(source_); }

    // Why the last open, flush or read failed; empty if none did.
    const LightweightString<char>& lastError() const noexcept { return error_; }

    // In bytes from the start. A place past the end means the end.
    std::uint64_t position() const noexcept { return windowStart_ + cachePos_; }
    void setPosition(std::uint64_t position)
    {
        if (position - windowStart_ <= cacheEnd_) [[likely]]
            cachePos_ = static_cast<std::size_t>(position - windowStart_);
        else
            moveWindow(position);
    }
    // In bytes.
    std::uint64_t size() const noexcept { return std::max(fileSize_, windowStart_ + cacheEnd_); }
    bool eof() const noexcept { return cachePos_ == cacheEnd_ && windowStart_ + cacheEnd_ >= fileSize_; }

    // Brings the file into the cache from the position up to the given place or the end. Reading does so
    // by itself; this tells how much will be needed.
    void cacheForward(std::uint64_t end);
    // Goes to a place in a file that is only read, where these bytes of it are known to be, and takes them for
    // those that it would read.
    void setPosition(std::uint64_t position, std::string_view bytes);

    void setCookedChar(char value) { put(value); }
    void setShort(short value) { put(value); }
    void setUnsignedShort(unsigned short value) { put(value); }
    void setLong(int value) { put(value); }
    void setUnsignedLong(unsigned int value) { put(value); }
    void setFloat(float value) { put(value); }
    void setInt64(long value) { put(value); }
    void setUnsignedInt64(unsigned long value) { put(value); }
    void setDouble(double value) { put(value); }

    // Writes one value at the position, over what stands there.
    template <StreamPrimitive T>
    void put(T value);
    // Writes bytes; gives their number.
    unsigned write(const void* bytes, unsigned lengthBytes)
    {
        if (cachePos_ + lengthBytes > writableEnd_) [[unlikely]]
            return writeInParts(bytes, lengthBytes);
        if (lengthBytes != 0)
            std::memcpy(cache_ + cachePos_, bytes, lengthBytes);
        cachePos_ += lengthBytes;
        cacheEnd_ = std::max(cacheEnd_, cachePos_);
        return lengthBytes;
    }

    // Room for a few bytes at the position, which is passed, for the caller to fill before the next call.
    unsigned char* claim(unsigned lengthBytes)
    {
        if (cachePos_ + lengthBytes > writableEnd_) [[unlikely]]
            prepareWrite(lengthBytes);
        unsigned char* const room = cache_ + cachePos_;
        cachePos_ += lengthBytes;
        cacheEnd_ = std::max(cacheEnd_, cachePos_);
        return room;
    }
    // The same for bytes that were written there a while ago, without moving; null where that takes moving.
    unsigned char* written(std::uint64_t position, unsigned lengthBytes) noexcept
    {
        const std::uint64_t at = position - windowStart_;
        return at < writableEnd_ && lengthBytes <= cacheEnd_ - at ? cache_ + at : nullptr;
    }

    // Reads one value. False, with the value unchanged, if the end of the file cuts it.
    template <StreamPrimitive T>
    bool get(T& value);

    // Reads the text up to the next zero, which is passed, or to the end. Both this and `cached` give bytes
    // as they lie in the cache, valid until the next call that reads, moves or writes.
    std::string_view readText();

    // The bytes from the position on as far as the cache has them; `passCached` moves by part of them.
    std::string_view cached() const noexcept
    {
        return {reinterpret_cast<const char*>(cache_) + cachePos_, cacheEnd_ - cachePos_};
    }
    void passCached(std::size_t lengthBytes) noexcept { cachePos_ += lengthBytes; }

    // Appends a text: a counted one, or the one up to the next zero, which is passed. False if there is
    // no cache, that is, neither an open file nor anything written. A text that a GrowString can't hold
    // throws, as told there.
    bool readBinary(GrowString& text, bool counted);
    // Copies `lengthBytes` bytes. If not `raw`, a length word stands before them and must agree, else an
    // assertion is printed, and the position is behind that word. False then, and if the file ends
    // earlier: the bytes that are there have been copied.
    bool readBinary(unsigned char* out, unsigned lengthBytes, bool raw);

private:
    // Makes sure of `count` bytes in the cache behind the position, or of all that there are; gives the
    // number that is there, at most `count`.
    std::size_t available(std::uint64_t count);
    // Reads on at the end of the window up to `end`, a place in the file.
    void extendWindow(std::uint64_t end);
    void moveWindow(std::uint64_t position);
    unsigned writeInParts(const void* bytes, unsigned lengthBytes);
    // Begins another window, or moves its start towards the position.
    void dropWindow(std::uint64_t start);
    void dropPassed(std::size_t keptBytes);
    // Hands what was written to the file beside: all of it; the part that the position has left behind, so that
    // the window goes on from there; so many bytes of the cache.
    void writeBehind();
    void writePassed();
    void writeOut(std::size_t count);
    // Makes the cache writable with room for so many bytes behind the position.
    void prepareWrite(std::size_t count);
    // Brings the whole file into the cache and lets go of it.
    void takeWhole();
    void reserve(std::size_t capacity);
    // Passes so many bytes of the cache, which holds them.
    std::string_view take(std::size_t count) noexcept
    {
        const std::string_view bytes = cached().substr(0, count);
        cachePos_ += count;
        return bytes;
    }
    template <StreamPrimitive T>
    static T littleEndian(T value) noexcept;

    bool openSource(iFile::eOpenBehaviour behaviour);
    bool openToCreate(iFile::eOpenBehaviour behaviour);
    // The TMP file: made and locked, written to the disk, renamed. Each leaves the reason of a failure.
    bool openBeside();
    bool takeMode();
    bool writeBeside();
    bool putInPlace();
    void discardBeside();
    // Keeps the reason of a failure. Gives false.
    bool fail(const LightweightString<char>& reason);

    // cache_[0, cacheEnd_) are the bytes of the stream from windowStart_ on; those outside are in a file.
    // Writing goes on in place up to writableEnd_, which is 0 while the file has what the cache has.
    unsigned char* cache_ = nullptr;
    std::size_t cachePos_ = 0;
    std::size_t cacheEnd_ = 0;
    std::size_t writableEnd_ = 0;
    std::size_t capacity_ = 0;
    std::uint64_t windowStart_ = 0;
    std::uint64_t fileSize_ = 0;     // of the file behind the cache; 0 if there is none
    std::uint64_t roomEnd_ = 0;      // up to where the disk was asked for room
    std::uint64_t flushStarted_ = 0; // up to where the file was sent on its way to the disk

    LightweightString<wchar_t> path_;
    LightweightString<wchar_t> target_; // where the path leads
    Mw::Ptr<iFile> source_;             // the file that is read
    Mw::Ptr<iFile> beside_;             // the TMP file that is written
    bool changed_ = false;              // the file under the path is not what this stream is
    bool mustBeNew_ = false;            // there must be no file under the path that this stream has not read
    bool failed_ = false;               // a part could not be read or written, so that it never will be
    LightweightString<char> error_;
};

template <StreamPrimitive T>
inline T StreamFile::littleEndian(T value) noexcept
{
    if constexpr (std::endian::native == std::endian::big)
    {
        unsigned char bytes[sizeof value];
        std::memcpy(bytes, &value, sizeof value);
        std::reverse(bytes, bytes + sizeof value);
        std::memcpy(&value, bytes, sizeof value);
    }
    return value;
}

template <StreamPrimitive T>
inline void StreamFile::put(T value)
{
    if (cachePos_ + sizeof value > writableEnd_) [[unlikely]]
        prepareWrite(sizeof value);
    value = littleEndian(value);
    std::memcpy(cache_ + cachePos_, &value, sizeof value);
    cachePos_ += sizeof value;
    cacheEnd_ = std::max(cacheEnd_, cachePos_);
}

template <StreamPrimitive T>
inline bool StreamFile::get(T& value)
{
    if (cacheEnd_ - cachePos_ < sizeof value && available(sizeof value) < sizeof value) [[unlikely]]
    {
        cachePos_ = cacheEnd_;
        return false;
    }
    std::memcpy(&value, cache_ + cachePos_, sizeof value);
    value = littleEndian(value);
    cachePos_ += sizeof value;
    return true;
}
