#include "misc/identity/NumberFileLock.h"

#include "OS/Debugger.h"
#include "OS/FileMgr.h"
#include "OS/OS.h"
#include "OS/ThreadMgr.h"

#include <string_view>

namespace
{

using Path = LightweightString<wchar_t>;

constexpr unsigned stepMs = 1;
constexpr unsigned steps = 10'000;

Mw::Ptr<iFile> openToLock(const Path& name)
{
    const Mw::Ptr<iFile> file = OS().fileMgr().openFile(name, iFile::eWrite, iFile::eOpenAlways);
    return file->isOpen() ? file : OS().fileMgr().openFile(name);
}

// Bounded by the clock, and by steps where a clock was set back.
bool waitFor(iFile& file)
{
    const double untilMs = OS().debugger().getPreciseTimeMs() + steps * stepMs;
    for (unsigned step = 0; !file.lock(iFile::eLockExclusive, iFile::eTryLock); ++step)
    {
        if (!file.supportsLocks())
            return true;
        if (step == steps || OS().debugger().getPreciseTimeMs() >= untilMs)
            return false;
        OS().threadMgr().sleep(stepMs);
    }
    return true;
}

// Their writers held the lock, so they are gone.
void removeLeftovers(const Path& target)
{
    const Path directory = Mw::directoryOf(target);
    const std::wstring_view whole = target;
    const std::wstring_view name = whole.substr(whole.rfind(OS().fileMgr().pathSeparator()) + 1);
    std::vector<iFileMgr::Entry> entries;
    OS().fileMgr().list(directory, L"*.TMP", entries);
    for (const iFileMgr::Entry& entry : entries)
        if (const std::wstring_view left = entry.name; left.starts_with(name) && left.substr(name.size(), 1) == L".")
            OS().fileMgr().remove(Mw::joinPath(directory, entry.name));
}

} // namespace

NumberFileLock::NumberFileLock(const Path& numberFile)
{
    Path target = OS().fileMgr().resolve(numberFile);
    if (target.empty())
        target = numberFile;
    file_ = openToLock(target + L".lock");
    isHeld_ = file_->isOpen() && waitFor(*file_);
    if (isHeld_ && file_->supportsLocks())
        removeLeftovers(target);
}

// A child that was forked meanwhile has the file open, too, and would keep it locked.
NumberFileLock::~NumberFileLock()
{
    if (isHeld_)
        file_->unlock();
}
