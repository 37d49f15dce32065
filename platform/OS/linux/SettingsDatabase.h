#pragma once

#include "OS/SettingsValues.h"
#include "OS/linux/SqliteConnection.h"

// The file of a settings store: one table in an SQLite database with a rollback journal, and beside it
// the last copy that was known to be good. Nothing but SQLite opens the file, whose locks another
// opening would let go. One thread at a time.
//
// An operation that ends in eMoved can be tried again at once, one that ends in eDamaged after
// replaceDamaged.
class SettingsDatabase
{
public:
    using Text = LightweightString<char>;
    using Wide = LightweightString<wchar_t>;
    using Changes = std::vector<iSettings::Change>;

    enum eOutcome
    {
        eDone,
        eBusy,     // others held the file for as long as waitUntil allows
        eMoved,    // another file has taken the name
        eDamaged,  // the content is no database, or a broken one
        eUnusable, // can't be opened, or not written for want of rights, or holds something else
        eFailed    // the disk
    };

    explicit SettingsDatabase(const Wide& path);

    // How long the operations that follow wait for other processes.
    void waitUntil(double timeMs);

    // Makes `values` what the file holds, if anyone else has changed it since the last time. Where there
    // is no file they become empty.
    eOutcome refresh(SettingsValues& values);

    // Makes the changes in the file, which is made with its directory if it isn't there, and then in
    // `values`, together with what others have changed; or neither. The first time a copy is kept.
    eOutcome write(const Changes& changes, SettingsValues& values);

    // Sets the damaged file aside and puts the last good copy in its place, if there is one; leaves what
    // another process has replaced in the meantime.
    eOutcome replaceDamaged();

    void close() { connection_.close(); }
    void abandon() { connection_.abandon(); }

    // Why the last operation did not end in eDone.
    const Text& error() const { return error_; }

    // What the user is to be told, once.
    Text takeNotice() { return std::exchange(notice_, {}); }

private:
    class FilesLock;
    class Transaction;

    enum eStage
    {
        eOpening,
        eUsing
    };

    eOutcome openExisting(bool& isThere);
    eOutcome create();
    eOutcome open(int flags);
    eOutcome readIfChanged(SettingsValues& fresh, bool& changed);
    eOutcome readAll(SettingsValues& fresh);
    eOutcome makeTable();
    eOutcome store(const Changes& changes);
    eOutcome keepCopy(Text& noCopyFor);
    eOutcome copyTo(const Wide& copy);
    eOutcome putInPlace(const Wide& replacement, const Wide& aside);
    eOutcome examineCopy(const Wide& copy);
    Wide setAsideName(const Wide& path) const;

    // What a result code comes to; keeps the reason.
    eOutcome outcome(const SqliteConnection& connection, int code, eStage stage = eUsing);
    eOutcome outcome(const FilesLock& lock);
    eOutcome fail(eOutcome outcome, const Text& reason);

    const Wide path_;
    const Text nativePath_;
    SqliteConnection connection_;
    double waitUntilMs_ = 0;
    std::int64_t version_ = -1; // the change counter at the last read
    bool hasTable_ = false;
    bool isCopySettled_ = false; // this process has kept one, or has written without
    Text error_;
    Text notice_;
};
