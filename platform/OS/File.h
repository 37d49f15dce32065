#pragma once

#include "Mw/LightweightString.h"
#include "Mw/Ptr.h"

#include <cstddef>
#include <cstdint>

// An open file, or the record of why it could not be opened: what iFileMgr::openFile gives is never
// null, and `isOpen` tells. Reads and writes name their place, so there is no cursor to share. Sizes and
// offsets have 64 bits.
//
// Any thread may read and write at the same time; opening and closing are one thread's. The file is
// closed with its last Ptr, but only `flushToDisk` and `close` can tell that bytes were lost.
class OS_API iFile : public iObject
{
public:
    enum eAccess
    {
        eRead = 1,
        eWrite = 2,
        eReadWrite = 3
    };
    enum eOpenBehaviour
    {
        eOpenExisting = 1, // fails if there is none
        eCreateNew = 2,    // fails if there is one
        eCreateAlways = 3, // writes over: an old file is emptied
        eOpenAlways = 4    // makes an empty one if there is none
    };
    enum eSharing
    {
        eShareAll,      // others may open the file as they like
        eShareExclusive // opens only if the exclusive lock can be had at once, and holds it
    };
    // Hints of how the file will be read; they never change what is read.
    enum eHints
    {
        eNoHints = 0,
        eSequential = 1,
        eRandom = 2
    };
    enum eLock
    {
        eLockShared,   // any number of holders
        eLockExclusive // one holder
    };
    enum eLockWait
    {
        eTryLock, // fails at once if another holds it
        eWaitForLock
    };
    // What a file can do, as bits of getCaps().
    enum eCaps
    {
        eNoCaps = 0,
        eCapSeek = 1,  // offsets count; without it (a pipe) bytes come and go in their own order
        eCapResize = 2 // truncate works
    };

    // Which file this is, whatever its names; equal for two openings of one file.
    struct Identity
    {
        std::uint64_t device = 0;
        std::uint64_t file = 0;

        bool operator==(const Identity&) const = default;
    };

    // As it was given to openFile.
    virtual LightweightString<wchar_t> path() = 0;

    // Gives the bytes read, fewer than asked only at the end of the file, or -1 on failure.
    virtual std::int64_t read(void* buffer, std::size_t sizeBytes, std::uint64_t offset) = 0;

    // Why the last operation on this file failed; empty if none did.
    virtual LightweightString<char> lastError() = 0;

    // Locks the whole file against other openings of it, in this process and others; they must ask for
    // the lock too. A second call changes the kind. False on failure.
    virtual bool lock(eLock kind, eLockWait wait) = 0;
    virtual bool unlock() = 0;

    // False once `lock` has failed because the disk knows no locks.
    virtual bool supportsLocks();

    // Gives the bytes written, or -1 on failure, when any part of them may have been written. Writing
    // past the end fills the gap with zeros.
    virtual std::int64_t write(const void* data, std::size_t sizeBytes, std::uint64_t offset) = 0;

    // True once contents and size are on the disk. A failure stays: the system may have dropped what it
    // could not write, so every later call fails too, and the file has to be written anew.
    virtual bool flushToDisk() = 0;

    // Cuts the file, or lengthens it with zeros.
    virtual bool truncate(std::uint64_t sizeBytes) = 0;

    // Closes at once; false if the system reports bytes that it could not write, or if it wasn't open.
    virtual bool close() = 0;

    // Seconds since 1970, with fractions; 0 on failure.
    virtual double modificationTime() = 0;
    virtual bool setModificationTime(double seconds) = 0;

    // Permission bits, such as 0644; 0 on failure.
    virtual unsigned mode() = 0;
    virtual bool setMode(unsigned mode) = 0;

    // In bytes; 0 if it can't be told.
    virtual std::uint64_t size() = 0;

    // For files that remember their size: asks again.
    virtual std::uint64_t recalculateSize();

    virtual Identity identity() = 0;

    virtual bool isOpen() = 0;

    // Bits of eCaps; none by default.
    virtual unsigned getCaps();

    // For writers of large files. Takes room on the disk up to this size, in one piece if it can be had, which
    // makes writing up to there cheaper; contents and size stay. What is not written in the end is given back by
    // `truncate`. False, as by default, if the disk doesn't do this or lacks the room, which is no reason to stop.
    virtual bool reserve(std::uint64_t sizeBytes);

    // Sends what was written there on its way to the disk, without waiting, so that a later `flushToDisk` has
    // less to do; it promises nothing. False, as by default, if the system can't.
    virtual bool startFlush(std::uint64_t offset, std::uint64_t sizeBytes);
};

// A file with a cursor and a buffer, for reading and writing from front to back. One thread at a time.
class OS_API iStreamingFile : public iFile
{
public:
    // Reads on from the cursor; as iFile::read. A failure leaves the cursor where it was.
    virtual std::int64_t readNext(void* buffer, std::size_t sizeBytes) = 0;

    // Puts the next line into `line`, without its LF or CRLF. False, with an empty line, at the end of the
    // file, and after a failure: atEnd() then is false, and the cursor stands where the line begins.
    virtual bool readLine(LightweightString<char>& line) = 0;

    // Writes at the cursor, through the buffer; as iFile::write.
    virtual std::int64_t writeNext(const void* data, std::size_t sizeBytes) = 0;

    // Hands what is buffered to the file. False on failure.
    virtual bool flushBuffer() = 0;

    virtual std::uint64_t position() = 0;
    virtual bool setPosition(std::uint64_t offset) = 0;

    // Whether the last readNext or readLine met the end of the file.
    virtual bool atEnd() = 0;

    // The file below.
    virtual Mw::Ptr<iFile> file() = 0;
};
