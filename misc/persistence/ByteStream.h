#pragma once

#include "Mw/LightweightString.h"
#include "OS/Export.h"
#include "misc/base/GrowString.h"

#include <cstdio>

// Reads and writes bytes in memory or in a C file, for data that is like text: comments can be left out
// on reading, and long lines wrapped on writing. Multi-byte values are little-endian. One thread at a time.
//
// A memory stream owns its buffer and has one place for reading and writing. A C file stays the caller's,
// who keeps to the rules of C when reading follows writing. Nothing here throws or reports: a read past
// the end gives 0 and sets `eof`.
class MISC_API ByteStream
{
public:
    // A memory stream; the text is moved into it and left empty.
    explicit ByteStream(GrowString& text);
    // A memory stream over a copy of the text.
    explicit ByteStream(const LightweightString<char>& text);
    explicit ByteStream(std::FILE* file);
    // Flushes the file and leaves it open.
    virtual ~ByteStream();
    ByteStream(const ByteStream&) = delete;
    ByteStream& operator=(const ByteStream&) = delete;

    // Makes an empty memory stream of it.
    void init();
    // Puts everything back but the file and whether a quote is open.
    void reset();

    bool eof() const noexcept { return eof_; }
    unsigned position() const noexcept { return position_; }
    unsigned bytesWritten() const noexcept { return bytesWritten_; }
    // What is in memory.
    const GrowString& buffer() const noexcept { return buffer_; }

    // Whether getChar leaves comments out, in the two forms of C. Off at first.
    void setStripComments(bool strip) noexcept { stripComments_ = strip; }
    // The characters that end a token; none at first.
    void setDelimiters(const char* delimiters);
    // Makes the character behind it part of a token, and stands at the end of a line that was wrapped.
    // 0 means none.
    void setEscapeChar(char escape) noexcept { escapeChar_ = static_cast<unsigned char>(escape); }
    // How many characters stand on a line before it is wrapped; 0 means no wrapping.
    void setLineLength(unsigned length) noexcept { lineLength_ = length; }

    // A value of the caller's own; -1 after reset.
    int userValue() const noexcept { return userValue_; }
    void setUserValue(int value) noexcept { userValue_ = value; }

    // Writes the byte as it is. In memory a gap before the position is filled with zeros.
    void rawWrite(unsigned char byte);
    // Wraps the line if it is due, then writes the byte.
    ByteStream& operator<<(unsigned char byte);
    // Without the terminator; null writes nothing.
    ByteStream& operator<<(const char* text);
    // 8 bytes, which wrapping may part.
    ByteStream& operator<<(double value);
    void write(const char* bytes, unsigned count);
    void flush();

    void rawRead(unsigned char& byte);
    // The next character, comments left out if that is asked for. Markers of comments between double
    // quotes are plain text.
    char getChar();
    // Appends the characters up to a line feed, which is not stored, or a zero.
    void getLine(GrowString& line);
    // Puts a character back, to be read next: in memory it takes the place of the one before the
    // position. Does nothing at the start of memory, or once the end was met.
    void unget(char c);
    // Goes to a place counted from the start and clears `eof`, which a failed seek sets.
    void position(unsigned position);

    // A token: the characters up to one of the delimiters, with all delimiters that follow. Escape
    // characters are dropped, however many stand in a row; the character behind them is no delimiter.
    MISC_API friend ByteStream& operator>>(ByteStream& in, GrowString& token);

private:
    void wrapLine();
    // Reads up to the end of a comment, whose opening has been read. False at the end of the data.
    bool skipLineComment();
    bool skipBlockComment();
    // The next character that is not in a comment.
    char nextOutsideComments();
    void skipDelimiters();
    bool isDelimiter(char c) const noexcept;

    unsigned position_ = 0;
    GrowString buffer_;
    bool eof_ = false;
    std::FILE* file_ = nullptr;
    GrowString delimiters_;
    bool stripComments_ = false;
    unsigned escapeChar_ = 0;
    unsigned bytesWritten_ = 0;
    unsigned lineLength_ = 0;
    bool inQuotes_ = false;
    int userValue_ = -1;
};

// Numbers, by getChar: the low byte first. What lies past the end reads as 0.
MISC_API ByteStream& operator>>(ByteStream& in, unsigned short& value);
MISC_API ByteStream& operator>>(ByteStream& in, unsigned int& value);
MISC_API ByteStream& operator>>(ByteStream& in, unsigned long& value);
MISC_API ByteStream& operator>>(ByteStream& in, double& value);
