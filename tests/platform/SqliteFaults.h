#pragma once

#include <csignal>
#include <map>
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
        eKill // in the middle of the call: half of a write is done
    };

    SqliteFaults() : real_(sqlite3_vfs_find(nullptr)), layer_(*real_)
    {
        current_ = this;
        layer_.zName = "faults";
        layer_.xOpen = [](sqlite3_vfs*, const char* name, sqlite3_file* file, int flags, int* outFlags)
        {
            file->pMethods = nullptr;
            const int code = pass([&] { return current_->real_->xOpen(current_->real_, name, file, flags, outFlags); },
                                  SQLITE_CANTOPEN, false);
            if (code == SQLITE_OK)
                file->pMethods = methodsOver(file->pMethods);
            return code;
        };
        layer_.xDelete = [](sqlite3_vfs*, const char* name, int) {
            return pass([&] { return current_->real_->xDelete(current_->real_, name, 0); }, SQLITE_IOERR_DELETE, false);
        };
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
        calls_ = 0;
        at_ = call;
        action_ = action;
        reads_ = reads;
    }
    int calls() const { return calls_; }

private:
    bool fails(bool isRead)
    {
        if (isRead && !reads_)
            return false;
        const int call = ++calls_;
        return at_ != 0 && (call == at_ || (call > at_ && action_ != eFailOnce));
    }

    // Runs the call, or what happens instead of it.
    template <class Call>
    static int pass(Call call, int failure, bool isRead)
    {
        if (!current_->fails(isRead))
            return call();
        if (current_->action_ == eKill)
            ::kill(::getpid(), SIGKILL);
        return failure;
    }

    // The file's own methods, with those that are watched in their place. A journal has others for locks and
    // closing than a database, which is opened first.
    static const sqlite3_io_methods* methodsOver(const sqlite3_io_methods* below)
    {
        static const sqlite3_io_methods* const file = below;
        static std::map<const sqlite3_io_methods*, sqlite3_io_methods> changed;
        sqlite3_io_methods& methods = changed.try_emplace(below, *below).first->second;
        methods.iVersion = 1;
        methods.xRead = [](sqlite3_file* f, void* data, int size, sqlite3_int64 offset)
        { return pass([&] { return file->xRead(f, data, size, offset); }, SQLITE_IOERR_READ, true); };
        methods.xWrite = [](sqlite3_file* f, const void* data, int size, sqlite3_int64 offset)
        {
            if (current_->at_ == current_->calls_ + 1)
                file->xWrite(f, data, size / 2, offset);
            return pass([&] { return file->xWrite(f, data, size, offset); }, SQLITE_IOERR_WRITE, false);
        };
        methods.xSync = [](sqlite3_file*, int) { return pass([] { return SQLITE_OK; }, SQLITE_IOERR_FSYNC, false); };
        methods.xLock = [](sqlite3_file* f, int level)
        { return pass([&] { return file->xLock(f, level); }, SQLITE_IOERR_LOCK, true); };
        return &methods;
    }

    static inline SqliteFaults* current_ = nullptr;

    sqlite3_vfs* const real_;
    sqlite3_vfs layer_;
    int calls_ = 0;
    int at_ = 0;
    eAction action_ = eFailOnce;
    bool reads_ = false;
};
