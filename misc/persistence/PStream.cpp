#include "misc/persistence/PStream.h"

void PStream::unexpectEOF()
{
    append("Unexpected EOF.");
}

unsigned PStream::writeBinary(const unsigned char* data, unsigned length, bool counted, bool raw)
{
    if (data != nullptr && length == 0)
        length = static_cast<unsigned>(std::strlen(reinterpret_cast<const char*>(data)));
    if (!raw && counted)
        file_->setUnsignedLong(length);
    const unsigned written = data != nullptr ? file_->write(data, length) : 0;
    if (!raw && !counted)
        file_->setCookedChar(0);
    return written;
}

unsigned PStream::writeBinary(const LightweightString<char>& text)
{
    return writeBinary(reinterpret_cast<const unsigned char*>(text.c_str()));
}

PStream& operator<<(PStream& stream, const char* text)
{
    stream.writeBinary(reinterpret_cast<const unsigned char*>(text));
    return stream;
}

PStream& operator<<(PStream& stream, const LightweightString<char>& text)
{
    stream.file()->write(text.c_str(), static_cast<unsigned>(text.text().size()) + 1);
    return stream;
}

PStream& operator>>(PStream& stream, LightweightString<char>& text)
{
    const std::string_view read = stream.file()->readText();
    if (text.empty())
        text = LightweightString<char>(read);
    else
        text = read;
    return stream;
}
