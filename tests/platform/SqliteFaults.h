#pragma once

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <sqlite3.h>
#include <unistd.h>

// The file layer below SQLite for the time of a scope: it passes calls on, counts them, and fails or ends
// the process at one of a test's choice. Flushes are only counted, since what a process wrote outlives it
// without. One at a time.
class SqliteFaults
{
public:
    enum eAction
    {
        eFailOnce,
        eFailFromThenOn,
        eBusyFromThenOn, // no lock can be had; other calls pass and don't count
        eKill            // in the middle of the call: half of a write is done
    };

    SqliteFaults() : real_(sqlite3_vfs_find(nullptr)), layer_(*real_)
    {
        current_ = this;
        layer_.zName = "faults";
        layer_.szOsFile = static_cast<int>(sizeof(File)) + real_->szOsFile;
        layer_.xOpen = open;
        layer_.xDelete = remove;
        layer_.xGetLastError = [](sqlite3_vfs*, int, char*) { return current_->failed_ ? EIO : errno; };
        sqlite3_vfs_register(&layer_, 1);
    }
    ~SqliteFaults()
    {
        sqlite3_vfs_register(real_, 1);
        sqlite3_vfs_unregister(&layer_);
    }

    // The call from now, counted from 1, that `action` happens to; 0 is none. Watched are the calls that
    // open or change files, and with `reads` all others too.
    void at(int call, eAction action = eFailOnce, bool reads = false)
    {
        calls_ = writes_ = 0;
        at_ = call;
        action_ = action;
        reads_ = reads;
    }
    int calls() const { return calls_; }
    int writes() const { return writes_; }

private:
    struct File
    {
        sqlite3_file base;

        sqlite3_file* real() { return reinterpret_cast<sqlite3_file*>(this + 1); }
    };

    // The file's own layer for one call.
    static sqlite3_file* real(sqlite3_file* file) { return reinterpret_cast<File*>(file)->real(); }

    bool fails(bool isRead, bool isLock)
    {
        if ((isRead && !reads_) || (action_ == eBusyFromThenOn && !isLock))
            return false;
        const int call = ++calls_;
        return at_ != 0 && (call == at_ || (call > at_ && action_ != eFailOnce));
    }

    // Runs the call, or what happens instead of it.
    template <class Call>
    static int pass(Call call, int failure, bool isRead)
    {
        current_->failed_ = current_->fails(isRead, failure == SQLITE_IOERR_LOCK);
        if (!current_->failed_)
            return call();
        if (current_->action_ == eKill)
            ::kill(::getpid(), SIGKILL);
        return current_->action_ == eBusyFromThenOn ? SQLITE_BUSY : failure;
    }

    static int open(sqlite3_vfs*, const char* name, sqlite3_file* file, int flags, int* outFlags)
    {
        file->pMethods = nullptr;
        const auto call = [&] { return current_->real_->xOpen(current_->real_, name, real(file), flags, outFlags); };
        const int code = pass(call, SQLITE_CANTOPEN, false);
        if (code == SQLITE_OK)
            file->pMethods = &methods_;
        return code;
    }
    static int remove(sqlite3_vfs*, const char* name, int)
    {
        return pass([&] { return current_->real_->xDelete(current_->real_, name, 0); }, SQLITE_IOERR_DELETE, false);
    }
    static int write(sqlite3_file* file, const void* data, int size, sqlite3_int64 offset)
    {
        ++current_->writes_;
        const auto half = [&] { return real(file)->pMethods->xWrite(real(file), data, size / 2, offset); };
        if (current_->at_ == current_->calls_ + 1)
            half();
        return pass([&] { return real(file)->pMethods->xWrite(real(file), data, size, offset); }, SQLITE_IOERR_WRITE,
                    false);
    }

    static constexpr sqlite3_io_methods methods_ = {
        1,
        [](sqlite3_file* f) { return real(f)->pMethods->xClose(real(f)); },
        [](sqlite3_file* f, void* data, int size, sqlite3_int64 offset) {
            return pass([&] { return real(f)->pMethods->xRead(real(f), data, size, offset); }, SQLITE_IOERR_READ, true);
        },
        write,
        [](sqlite3_file* f, sqlite3_int64 size)
        { return pass([&] { return real(f)->pMethods->xTruncate(real(f), size); }, SQLITE_IOERR_TRUNCATE, false); },
        [](sqlite3_file*, int) { return pass([] { return SQLITE_OK; }, SQLITE_IOERR_FSYNC, false); },
        [](sqlite3_file* f, sqlite3_int64* size)
        { return pass([&] { return real(f)->pMethods->xFileSize(real(f), size); }, SQLITE_IOERR_FSTAT, true); },
        [](sqlite3_file* f, int level)
        { return pass([&] { return real(f)->pMethods->xLock(real(f), level); }, SQLITE_IOERR_LOCK, true); },
        [](sqlite3_file* f, int level) { return real(f)->pMethods->xUnlock(real(f), level); },
        [](sqlite3_file* f, int* held) { return real(f)->pMethods->xCheckReservedLock(real(f), held); },
        [](sqlite3_file* f, int op, void* data) { return real(f)->pMethods->xFileControl(real(f), op, data); },
        [](sqlite3_file* f) { return real(f)->pMethods->xSectorSize(real(f)); },
        [](sqlite3_file* f) { return real(f)->pMethods->xDeviceCharacteristics(real(f)); },
        nullptr,
        nullptr,
        nullptr,
        nullptr,
        nullptr,
        nullptr,
    };

    static inline SqliteFaults* current_ = nullptr;

    sqlite3_vfs* const real_;
    sqlite3_vfs layer_;
    bool failed_ = false;
    int calls_ = 0;
    int writes_ = 0;
    int at_ = 0;
    eAction action_ = eFailOnce;
    bool reads_ = false;
};
