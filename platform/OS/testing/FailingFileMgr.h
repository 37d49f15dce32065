#pragma once

#include "OS/testing/ForwardingFileMgr.h"

#include <atomic>

// A file manager that fails at a call of a test's choice: the n-th of the kinds that are watched, all that
// change the disk unless others are named. A test that runs an operation once to count its calls, and then once for
// each call with that one failing, has seen every place where a disk can fail. Any thread.
class OS_API FailingFileMgr : public ForwardingFileMgr
{
public:
    // Kinds of calls, as bits.
    enum eCall
    {
        eOpenToWrite = 1,
        eWrite = 2, // one that fails has written the first half
        eFlush = 4,
        eTruncate = 8,
        eClose = 16, // one that fails has closed the file
        eSetMode = 32,
        eRename = 64,
        eRemove = 128,
        eEnsureDirectory = 256,
        eSyncDirectory = 512,
        eAllChanges = 1023,
        eRead = 1024,
        eOpenToRead = 2048,
        eSize = 4096,
        eMode = 8192, // also that of iFileMgr::status, which gives no answer then
        eLock = 16384,
        eExists = 32768,
        eAllCalls = 65535
    };
    enum eAfterwards
    {
        eOnce,      // later calls succeed
        eFromThenOn // the disk is gone
    };

    explicit FailingFileMgr(iFileMgr& target = OS().fileMgr(), unsigned watched = eAllChanges)
        : ForwardingFileMgr(target), watched_(watched)
    {
    }
    ~FailingFileMgr() override;

    // The watched call that fails, counted from 1 and from now; 0 lets all succeed.
    void failAt(int call, eAfterwards afterwards = eOnce);

    // Makes it the manager of a disk that knows no locks.
    void setWithoutLocks(bool on) { withoutLocks_ = on; }
    bool isWithoutLocks() const { return withoutLocks_; }

    // Watched calls since the last failAt.
    int calls() const { return calls_; }

    Mw::Ptr<iFile> openFile(const Path& path, iFile::eAccess access, iFile::eOpenBehaviour behaviour,
                            iFile::eSharing sharing, unsigned hints, unsigned mode) override;
    std::optional<Status> status(const Path& path) override;
    bool exists(const Path& path) override;
    bool ensureDirectory(const Path& path) override;
    bool rename(const Path& from, const Path& to) override;
    bool remove(const Path& path) override;
    bool syncDirectory(const Path& path) override;

    // Counts a call; whether it is the one to fail.
    bool fails(eCall call);

private:
    const unsigned watched_;
    std::atomic<int> calls_{0};
    std::atomic<int> failing_{0};
    std::atomic<eAfterwards> afterwards_{eOnce};
    std::atomic<bool> withoutLocks_{false};
};
