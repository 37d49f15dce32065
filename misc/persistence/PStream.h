#pragma once

#include "misc/base/GrowString.h"
#include "misc/persistence/StreamFile.h"

#include <array>

// The stream that persistent objects are packed to and unpacked from. It is its own error text: the stream
// is in error exactly while the text is not empty, and nothing is thrown. The bytes are those of a
// StreamFile, which is not owned and must live as long. One thread at a time.
//
//     StreamFile file;
//     if (file.open(path, iFile::eCreateAlways))
//     {
//         PStream stream(&file);
//         stream << 25u << "Main title";
//         file.flush();
//     }
class MISC_API PStream : public GrowString
{
public:
    explicit PStream(StreamFile* file) noexcept : file_(file) {}

    StreamFile* file() const noexcept { return file_; }

    // Whether the error text is not empty.
    bool failed() const noexcept { return !empty(); }
    // Appends "Unexpected EOF." to the error text.
    void unexpectEOF();

    // The format version of the object headers that are read, set by the latest one that tells it.
    unsigned version() const noexcept { return version_; }
    void version(unsigned version) noexcept { version_ = version; }

    // A value of the caller's own.
    int userValue() const noexcept { return userValue_; }
    void userValue(int value) noexcept { userValue_ = value; }

    // Writes bytes in one of three forms: `raw`, the bytes alone; else `counted`, behind their length in
    // 32 bits; else followed by a zero. A length of 0 means that of the text in `data`. Null `data`
    // writes no bytes, only the length as given or the zero. Gives the number of bytes without those.
    unsigned writeBinary(const unsigned char* data, unsigned length = 0, bool counted = false, bool raw = false);
    // A text, followed by a zero.
    unsigned writeBinary(const LightweightString<char>& text);
    // The same for a text that is known to have no zeros.
    void writeName(const LightweightString<char>& name) { file_->write(name.c_str(), name.length() + 1); }

private:
    StreamFile* file_;
    unsigned version_ = 1;
    int userValue_ = 0;
};

// Numbers in their own width, little-endian. One that the end of the file cuts keeps its value; a reader
// that must know asks `eof` or StreamFile::get.
template <StreamPrimitive T>
inline PStream& operator<<(PStream& stream, T value)
{
    stream.file()->put(value);
    return stream;
}
template <StreamPrimitive T>
inline PStream& operator>>(PStream& stream, T& value)
{
    stream.file()->get(value);
    return stream;
}

// Numbers in a row, as if one by one.
template <StreamPrimitive T, std::size_t count>
inline PStream& operator<<(PStream& stream, const std::array<T, count>& values)
{
    if constexpr (std::endian::native == std::endian::little)
        stream.file()->write(values.data(), sizeof values);
    else
        for (const T value : values)
            stream << value;
    return stream;
}
template <StreamPrimitive T, std::size_t count>
inline PStream& operator>>(PStream& stream, std::array<T, count>& values)
{
    const std::string_view cached = stream.file()->cached();
    if (std::endian::native == std::endian::little && cached.size() >= sizeof values) [[likely]]
    {
        std::memcpy(values.data(), cached.data(), sizeof values);
        stream.file()->passCached(sizeof values);
    }
    else
        for (T& value : values)
            stream >> value;
    return stream;
}

// Texts, each up to its first zero and followed by one.
MISC_API PStream& operator<<(PStream& stream, const char* text);
MISC_API PStream& operator<<(PStream& stream, const LightweightString<char>& text);
MISC_API PStream& operator>>(PStream& stream, LightweightString<char>& text);
