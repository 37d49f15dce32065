#pragma once

#include "Mw/LightweightString.h"
#include "Mw/Ptr.h"
#include "OS/File.h"

// Held by whoever compares, makes or replaces a number file: the lock of an empty file beside it, which
// stays, for the number file itself is another one after each write. A file that another user made serves
// as well. Others are waited for, 10 seconds at most. One thread; threads of one process wait for each other.
class NumberFileLock
{
public:
    // Removes what writers left beside the number file that ended while they wrote.
    explicit NumberFileLock(const LightweightString<wchar_t>& numberFile);
    ~NumberFileLock();
    NumberFileLock(const NumberFileLock&) = delete;
    NumberFileLock& operator=(const NumberFileLock&) = delete;

    // Also where the disk knows no locks, and there is nothing to wait for.
    bool isHeld() const noexcept { return isHeld_; }

private:
    Mw::Ptr<iFile> file_;
    bool isHeld_ = false;
};
