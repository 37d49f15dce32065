#include "OS/linux/SettingsDatabase.h"

#include "OS/FileMgr.h"
#include "OS/OS.h"
#include "OS/linux/NativePath.h"

#include <cerrno>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

// "MwSt": tells the file from any other database.
constexpr std::int64_t theApplicationId = 0x4D775374;
constexpr std::int64_t theFormat = 1;

constexpr const char* theTable = "CREATE TABLE settings (section TEXT NOT NULL, name TEXT NOT NULL,"
                                 " value TEXT NOT NULL, PRIMARY KEY (section, name)) STRICT, WITHOUT ROWID;"
                                 "PRAGMA application_id = 0x4D775374;"
                                 "PRAGMA user_version = 1;";

// The end of a write is that its journal is truncated, which is flushed at this level of synchronous, while
// deleting the journal is not: a write that has ended outlives a loss of power.
constexpr const char* theWays = "PRAGMA synchronous = FULL;"
                                "PRAGMA cell_size_check = ON;"
                                "PRAGMA journal_mode = TRUNCATE;";

// SQLite's own check of the structure. SQLITE_CORRUPT if it finds anything.
int quickCheck(SqliteConnection& connection)
{
    SqliteStatement check(connection, "PRAGMA quick_check(1)");
    const int code = check.step();
    if (code != SQLITE_ROW)
        return code;
    return check.text(0) == "ok" ? SQLITE_OK : SQLITE_CORRUPT;
}

LightweightString<char> quoted(const LightweightString<wchar_t>& path)
{
    return LightweightString<char>("\"") + nativePath(path) + "\"";
}

} // namespace

// Held by whoever makes, copies or replaces the store as a file, so that no two processes do at once: a
// transaction of a database without content.
class SettingsDatabase::FilesLock
{
public:
    FilesLock(const Wide& store, double waitUntilMs)
    {
        code_ = connection_.open(nativePath(store + L".lock"), SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
        connection_.waitUntil(waitUntilMs);
        if (code_ == SQLITE_OK)
            code_ = connection_.run("BEGIN EXCLUSIVE");
    }

    // SQLITE_OK if it is held.
    int code() const { return code_; }
    const SqliteConnection& connection() const { return connection_; }

private:
    SqliteConnection connection_;
    int code_;
};

// Rolled back at the end of its scope unless it was committed.
class SettingsDatabase::Transaction
{
public:
    Transaction(SqliteConnection& connection, const char* begin) : connection_(connection), code_(connection.run(begin))
    {
    }
    ~Transaction()
    {
        if (connection_.isOpen() && sqlite3_get_autocommit(connection_.get()) == 0)
            sqlite3_exec(connection_.get(), "ROLLBACK", nullptr, nullptr, nullptr);
    }
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;

    int begun() const { return code_; }
    int commit() { return connection_.run("COMMIT"); }

private:
    SqliteConnection& connection_;
    const int code_;
};

SettingsDatabase::SettingsDatabase(const Wide& path) : path_(path), nativePath_(nativePath(path)) {}

void SettingsDatabase::waitUntil(double timeMs)
{
    waitUntilMs_ = timeMs;
    connection_.waitUntil(timeMs);
}

SettingsDatabase::eOutcome SettingsDatabase::refresh(SettingsValues& values)
{
    if (connection_.isOpen() && connection_.hasMoved())
        close();
    SettingsValues fresh;
    bool changed = false;
    if (!connection_.isOpen())
    {
        bool isThere = false;
        if (const eOutcome opened = openExisting(isThere); opened != eDone)
            return opened;
        changed = !isThere;
    }
    if (connection_.isOpen())
    {
        const Transaction transaction(connection_, "BEGIN");
        if (const eOutcome read = readIfChanged(fresh, changed); read != eDone)
            return read;
    }
    if (changed)
        values.replaceBy(fresh);
    return eDone;
}

SettingsDatabase::eOutcome SettingsDatabase::write(const Changes& changes, SettingsValues& values)
{
    if (!connection_.isOpen())
        if (const eOutcome created = create(); created != eDone)
            return created;
    Text noCopyFor;
    if (!isCopySettled_ && hasTable_)
        if (const eOutcome kept = keepCopy(noCopyFor); kept != eDone)
            return kept;

    Transaction transaction(connection_, "BEGIN IMMEDIATE");
    if (transaction.begun() != SQLITE_OK)
        return outcome(connection_, transaction.begun());
    SettingsValues fresh;
    bool changed = false;
    eOutcome stored = readIfChanged(fresh, changed);
    if (stored == eDone && !hasTable_)
        stored = makeTable();
    if (stored == eDone)
        stored = store(changes);
    if (stored == eDone)
        stored = outcome(connection_, transaction.commit());
    if (stored != eDone)
    {
        version_ = -1; // whatever the disk has made of it will be read
        return stored;
    }
    SettingsValues& target = changed ? fresh : values;
    target.apply(changes);
    if (changed)
        values.replaceBy(fresh);
    isCopySettled_ = true;
    if (!noCopyFor.empty())
        notice_ = Text("No copy of the settings in ") + quoted(path_) + " could be kept: " + noCopyFor;
    return eDone;
}

SettingsDatabase::eOutcome SettingsDatabase::openExisting(bool& isThere)
{
    const eOutcome opened = open(SQLITE_OPEN_READWRITE);
    const int reason = connection_.systemError();
    isThere = opened == eDone || (reason != ENOENT && reason != ENOTDIR);
    return isThere ? opened : eDone;
}

SettingsDatabase::eOutcome SettingsDatabase::create()
{
    if (!OS().fileMgr().ensureDirectory(Mw::directoryOf(path_)))
        return fail(eUnusable, OS().fileMgr().lastError());
    const FilesLock lock(path_, waitUntilMs_);
    if (const eOutcome locked = outcome(lock); locked != eDone)
        return locked;
    return open(SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
}

SettingsDatabase::eOutcome SettingsDatabase::open(int flags)
{
    version_ = -1;
    hasTable_ = false;
    // SQLite would make a database without a name.
    if (nativePath_.empty())
        return fail(eUnusable, "No such file name");
    int code = connection_.open(nativePath_, flags);
    if (code == SQLITE_OK)
        code = connection_.run(theWays);
    const eOutcome opened = outcome(connection_, code, eOpening);
    if (opened != eDone)
        close();
    return opened;
}

SettingsDatabase::eOutcome SettingsDatabase::readIfChanged(SettingsValues& fresh, bool& changed)
{
    std::int64_t version = 0;
    if (const int code = connection_.number("PRAGMA data_version", version); code != SQLITE_OK)
        return outcome(connection_, code);
    if (version == version_)
        return eDone;
    if (const eOutcome read = readAll(fresh); read != eDone)
        return read;
    version_ = version;
    changed = true;
    return eDone;
}

SettingsDatabase::eOutcome SettingsDatabase::readAll(SettingsValues& fresh)
{
    std::int64_t application = 0;
    std::int64_t format = 0;
    std::int64_t tables = 0;
    int code = connection_.number("PRAGMA application_id", application);
    if (code == SQLITE_OK)
        code = connection_.number("PRAGMA user_version", format);
    if (code == SQLITE_OK)
        code = connection_.number("SELECT count(*) FROM sqlite_schema", tables);
    if (code != SQLITE_OK)
        return outcome(connection_, code);
    hasTable_ = tables != 0;
    if (!hasTable_ && application == 0 && format == 0)
        return eDone;
    if (application != theApplicationId || format != theFormat)
        return fail(eUnusable, "It is a database of another kind, or of a later version");

    SqliteStatement rows(connection_, "SELECT section, name, value FROM settings");
    while ((code = rows.step()) == SQLITE_ROW)
        fresh.add(rows.text(1), rows.text(0), rows.text(2));
    return outcome(connection_, code);
}

SettingsDatabase::eOutcome SettingsDatabase::makeTable()
{
    const eOutcome made = outcome(connection_, connection_.run(theTable));
    hasTable_ = made == eDone;
    return made;
}

SettingsDatabase::eOutcome SettingsDatabase::store(const Changes& changes)
{
    SqliteStatement put(connection_, "INSERT INTO settings VALUES (?1, ?2, ?3) ON CONFLICT (section, name)"
                                     " DO UPDATE SET value = ?3 WHERE value IS NOT ?3");
    SqliteStatement take(connection_, "DELETE FROM settings WHERE section = ?1 AND name = ?2");
    for (const iSettings::Change& change : changes)
    {
        SqliteStatement& statement = change.value ? put : take;
        statement.bind(1, change.section);
        statement.bind(2, change.key);
        if (change.value)
            statement.bind(3, *change.value);
        if (const int code = statement.step(); code != SQLITE_DONE)
            return outcome(connection_, code);
        statement.reset();
    }
    return eDone;
}

// A copy that can't be made hinders no write, and the one before stays.
SettingsDatabase::eOutcome SettingsDatabase::keepCopy(Text& noCopyFor)
{
    const FilesLock lock(path_, waitUntilMs_);
    const Transaction transaction(connection_, "BEGIN");
    if (const int code = quickCheck(connection_); code != SQLITE_OK)
        return outcome(connection_, code);
    const Wide beside = path_ + L".last-good.tmp";
    iFileMgr& files = OS().fileMgr();
    if (lock.code() != SQLITE_OK)
        noCopyFor = lock.connection().error();
    else if (copyTo(beside) != eDone)
        noCopyFor = error_;
    else if (!files.rename(beside, path_ + L".last-good") || !files.syncDirectory(Mw::directoryOf(path_)))
        noCopyFor = files.lastError();
    isCopySettled_ = noCopyFor.empty();
    return eDone;
}

SettingsDatabase::eOutcome SettingsDatabase::copyTo(const Wide& copy)
{
    // What a process left that ended while it made one.
    for (const Wide& old : {copy, copy + L"-journal"})
        if (OS().fileMgr().exists(old) && !OS().fileMgr().remove(old))
            return fail(eFailed, OS().fileMgr().lastError());
    SqliteConnection target;
    if (const int code = target.open(nativePath(copy), SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE); code != SQLITE_OK)
        return outcome(target, code);
    // As private as the store.
    struct stat info;
    if (::stat(nativePath_.c_str(), &info) == 0)
        ::chmod(nativePath(copy).c_str(), info.st_mode & 0777);
    sqlite3_backup* const backup = sqlite3_backup_init(target.get(), "main", connection_.get(), "main");
    if (backup == nullptr)
        return outcome(target, target.keep(sqlite3_extended_errcode(target.get())));
    // Finishing forgets that a step met a lock, and would call the part that was copied good.
    const int stepped = sqlite3_backup_step(backup, -1);
    const int finished = sqlite3_backup_finish(backup);
    const bool whole = finished != SQLITE_OK || stepped == SQLITE_DONE;
    return outcome(target, target.keep(whole ? finished : stepped));
}

SettingsDatabase::eOutcome SettingsDatabase::replaceDamaged()
{
    close();
    const FilesLock lock(path_, waitUntilMs_);
    if (const eOutcome locked = outcome(lock); locked != eDone)
        return locked;
    SqliteConnection damaged;
    if (const int code = damaged.open(nativePath_, SQLITE_OPEN_READWRITE); code != SQLITE_OK)
        return damaged.systemError() == ENOENT ? eDone : outcome(damaged, code, eOpening);
    damaged.waitUntil(waitUntilMs_);
    // Where the damage lets it, nobody else writes to the file from here on.
    const Transaction transaction(damaged, "BEGIN EXCLUSIVE");
    const int code = transaction.begun() == SQLITE_OK ? quickCheck(damaged) : transaction.begun();
    if (const eOutcome state = outcome(damaged, code, eOpening); state != eDamaged)
        return state;

    Wide copy = path_ + L".last-good";
    if (!OS().fileMgr().exists(copy))
        copy.clear();
    else if (const eOutcome found = examineCopy(copy); found == eDamaged)
    {
        if (!OS().fileMgr().rename(copy, setAsideName(copy)))
            return fail(eUnusable, OS().fileMgr().lastError());
        copy.clear();
    }
    else if (found != eDone)
        return found; // it may be good, and readable another time

    const Wide aside = setAsideName(path_);
    if (const eOutcome put = putInPlace(copy, aside); put != eDone)
        return put;
    notice_ = Text("The settings in ") + quoted(path_) + " were damaged, and are now in " + quoted(aside) +
              (copy.empty() ? ". There is no good copy of them: the defaults are used."
                            : ". The last good copy of them was put in their place.");
    isCopySettled_ = false;
    return eDone;
}

// The store's name is never without a file if there is a copy: whoever is killed here leaves the damaged
// file or the copy.
SettingsDatabase::eOutcome SettingsDatabase::putInPlace(const Wide& replacement, const Wide& aside)
{
    iFileMgr& files = OS().fileMgr();
    // A journal of the damaged file must not be taken for one of the copy.
    const Wide journal = path_ + L"-journal";
    bool done = !files.exists(journal) || files.rename(journal, aside + L"-journal");
    const bool linked = done && !replacement.empty() && ::link(nativePath_.c_str(), nativePath(aside).c_str()) == 0;
    if (done && !linked)
        done = files.rename(path_, aside);
    if (done && !replacement.empty())
        done = files.rename(replacement, path_);
    if (done && files.syncDirectory(Mw::directoryOf(path_)))
        return eDone;
    return fail(eUnusable, files.lastError());
}

// eDone if it is good, eDamaged if it is not, and anything else if that can't be told now.
SettingsDatabase::eOutcome SettingsDatabase::examineCopy(const Wide& copy)
{
    SqliteConnection connection;
    connection.waitUntil(waitUntilMs_);
    std::int64_t application = 0;
    int code = connection.open(nativePath(copy), SQLITE_OPEN_READWRITE);
    if (code == SQLITE_OK)
        code = quickCheck(connection);
    if (code == SQLITE_OK)
        code = connection.number("PRAGMA application_id", application);
    const eOutcome found = outcome(connection, code, eOpening);
    // An empty file is a whole database, too.
    return found == eDone && application != theApplicationId ? fail(eDamaged, "It holds no settings") : found;
}

SettingsDatabase::Wide SettingsDatabase::setAsideName(const Wide& path) const
{
    for (unsigned number = 1;; ++number)
    {
        const Wide name = path + L".damaged-" + std::to_wstring(number).c_str();
        if (!OS().fileMgr().exists(name))
            return name;
    }
}

SettingsDatabase::eOutcome SettingsDatabase::outcome(const SqliteConnection& connection, int code, eStage stage)
{
    const Text reason = connection.error();
    switch (code & 0xFF)
    {
    case SQLITE_OK:
    case SQLITE_ROW:
    case SQLITE_DONE:
        return eDone;
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
        return fail(eBusy, reason);
    case SQLITE_NOTADB:
    case SQLITE_CORRUPT:
        return fail(eDamaged, reason);
    case SQLITE_READONLY:
        return fail(code == SQLITE_READONLY_DBMOVED ? eMoved : eUnusable, reason);
    case SQLITE_PERM:
    case SQLITE_AUTH:
    case SQLITE_ERROR:
        return fail(eUnusable, reason);
    case SQLITE_CANTOPEN:
        return fail(stage == eOpening ? eUnusable : eFailed, reason);
    default:
        return fail(eFailed, reason);
    }
}

// A lock file with contents that are none of ours: replacing the store would not mend it.
SettingsDatabase::eOutcome SettingsDatabase::outcome(const FilesLock& lock)
{
    const eOutcome locked = outcome(lock.connection(), lock.code(), eOpening);
    return locked == eDamaged ? fail(eUnusable, quoted(path_ + L".lock") + " is no lock file: " + error_) : locked;
}

SettingsDatabase::eOutcome SettingsDatabase::fail(eOutcome outcome, const Text& reason)
{
    error_ = reason;
    return outcome;
}
