#include "misc/persistence/ByteStream.h"

#include <cstdint>
#include <cstring>

namespace
{

template <class Half, class Whole>
void readHalves(ByteStream& in, Whole& value)
{
    Half low = 0;
    Half high = 0;
    in >> low >> high;
    value = low | static_cast<Whole>(high) << (8 * sizeof(Half));
}

} // namespace

ByteStream::ByteStream(GrowString& text)
{
    init();
    buffer_.swap(text);
    text.clear();
}

ByteStream::ByteStream(const LightweightString<char>& text)
{
    init();
    buffer_.append(text);
}

ByteStream::ByteStream(std::FILE* file)
{
    init();
    file_ = file;
}

ByteStream::~ByteStream()
{
    flush();
}

void ByteStream::init()
{
    file_ = nullptr;
    inQuotes_ = false;
    reset();
}

void ByteStream::reset()
{
    position_ = 0;
    eof_ = false;
    stripComments_ = false;
    buffer_.clear();
    delimiters_.clear();
    escapeChar_ = 0;
    bytesWritten_ = 0;
    lineLength_ = 0;
    userValue_ = -1;
}

void ByteStream::setDelimiters(const char* delimiters)
{
    delimiters_.clear();
    delimiters_.append(delimiters);
}

void ByteStream::rawWrite(unsigned char byte)
{
    ++bytesWritten_;
    if (file_ != nullptr)
    {
        std::fputc(byte, file_);
        return;
    }
    const char c = static_cast<char>(byte);
    if (position_ > buffer_.length())
        buffer_.resize(position_);
    if (position_ == buffer_.length())
        buffer_.append(c);
    else
        buffer_[position_] = c;
    ++position_;
}

void ByteStream::wrapLine()
{
    const auto isDue = [this](std::uint64_t ahead)
    { return (bytesWritten_ + ahead) % (std::uint64_t{lineLength_} + ahead) == 0; };
    if (escapeChar_ == 0)
    {
        if (isDue(1))
            rawWrite('\n');
    }
    else if (isDue(2))
    {
        rawWrite(static_cast<unsigned char>(escapeChar_));
        rawWrite('\n');
    }
}

ByteStream& ByteStream::operator<<(unsigned char byte)
{
    if (lineLength_ != 0)
        wrapLine();
    rawWrite(byte);
    return *this;
}

ByteStream& ByteStream::operator<<(const char* text)
{
    if (text != nullptr)
        for (; *text != 0; ++text)
            *this << static_cast<unsigned char>(*text);
    return *this;
}

ByteStream& ByteStream::operator<<(double value)
{
    char bytes[sizeof value];
    std::memcpy(bytes, &value, sizeof value);
    write(bytes, sizeof bytes);
    return *this;
}

void ByteStream::write(const char* bytes, unsigned count)
{
    for (unsigned i = 0; i < count; ++i)
        *this << static_cast<unsigned char>(bytes[i]);
}

void ByteStream::flush()
{
    if (file_ != nullptr)
        std::fflush(file_);
}

void ByteStream::rawRead(unsigned char& byte)
{
    byte = 0;
    if (file_ != nullptr)
    {
        const int read = std::fgetc(file_);
        eof_ = eof_ || read == EOF;
        if (read != EOF)
            byte = static_cast<unsigned char>(read);
    }
    else if (position_ < buffer_.length())
        byte = static_cast<unsigned char>(buffer_[position_++]);
    else
        eof_ = true;
}

char ByteStream::getChar()
{
    char c = 0;
    if (stripComments_ && !inQuotes_)
        c = nextOutsideComments();
    else
    {
        unsigned char byte;
        rawRead(byte);
        c = static_cast<char>(byte);
    }
    if (c == '"')
        inQuotes_ = !inQuotes_;
    return c;
}

char ByteStream::nextOutsideComments()
{
    unsigned char byte;
    for (;;)
    {
        rawRead(byte);
        if (byte != '/')
            return static_cast<char>(byte);
        rawRead(byte);
        if (byte != '*' && byte != '/')
        {
            unget(static_cast<char>(byte));
            return '/';
        }
        if (!(byte == '*' ? skipBlockComment() : skipLineComment()))
            return 0;
    }
}

bool ByteStream::skipLineComment()
{
    unsigned char byte = 0;
    while (!eof_ && byte != '\n')
        rawRead(byte);
    return !eof_;
}

bool ByteStream::skipBlockComment()
{
    unsigned char byte = 0;
    while (!eof_)
    {
        rawRead(byte);
        if (byte != '*')
            continue;
        rawRead(byte);
        if (byte == '/')
            return true;
        unget(static_cast<char>(byte));
    }
    return false;
}

void ByteStream::getLine(GrowString& line)
{
    for (char c = getChar(); c != 0 && c != '\n'; c = getChar())
        line.append(c);
}

void ByteStream::unget(char c)
{
    if (eof_)
        return;
    if (file_ != nullptr)
        std::ungetc(static_cast<unsigned char>(c), file_);
    else if (position_ > 0)
    {
        --position_;
        if (position_ < buffer_.length())
            buffer_[position_] = c;
    }
}

void ByteStream::position(unsigned position)
{
    position_ = position;
    eof_ = file_ != nullptr && std::fseek(file_, static_cast<long>(position), SEEK_SET) != 0;
}

bool ByteStream::isDelimiter(char c) const noexcept
{
    // The terminator counts as found, and so does a zero character.
    return std::strchr(delimiters_.c_str(), c) != nullptr;
}

void ByteStream::skipDelimiters()
{
    for (;;)
    {
        const char c = getChar();
        if (eof_)
            return;
        if (!isDelimiter(c))
            return unget(c);
    }
}

ByteStream& operator>>(ByteStream& in, GrowString& token)
{
    token.clear();
    const auto isEscape = [&in](char c)
    { return in.escapeChar_ != 0 && static_cast<unsigned char>(c) == in.escapeChar_; };
    for (;;)
    {
        bool escaped = false;
        char c = in.getChar();
        for (; isEscape(c) && !in.eof_; c = in.getChar())
            escaped = true;
        if (c == 0 || in.eof_)
            return in;
        if (!escaped && in.isDelimiter(c))
            break;
        token.append(c);
    }
    in.skipDelimiters();
    return in;
}

ByteStream& operator>>(ByteStream& in, unsigned short& value)
{
    const auto low = static_cast<unsigned char>(in.getChar());
    const auto high = static_cast<unsigned char>(in.getChar());
    value = static_cast<unsigned short>(low | high << 8);
    return in;
}

ByteStream& operator>>(ByteStream& in, unsigned int& value)
{
    readHalves<unsigned short>(in, value);
    return in;
}

ByteStream& operator>>(ByteStream& in, unsigned long& value)
{
    readHalves<unsigned int>(in, value);
    return in;
}

ByteStream& operator>>(ByteStream& in, double& value)
{
    char bytes[sizeof value];
    for (char& byte : bytes)
        byte = in.getChar();
    std::memcpy(&value, bytes, sizeof value);
    return in;
}
