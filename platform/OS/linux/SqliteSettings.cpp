#include "OS/Debugger.h"
#include "OS/ForkCount.h"
#include "OS/OS.h"
#include "OS/RecursiveLock.h"
#include "OS/Settings.h"
#include "OS/SettingsValues.h"
#include "OS/linux/NativePath.h"
#include "OS/linux/SettingsDatabase.h"

#include <algorithm>
#include <atomic>
#include <limits>
#include <mutex>
#include <string>
#include <unistd.h>

namespace
{

constexpr double checkAfterMs = 50;
constexpr double coarseClockLagMs = 10;
constexpr int waitForOthersMs = 30'000;

constexpr const char* forked = "The process was forked, and has executed no program since";

// How often a store that is damaged, or replaced by another process, is opened anew in one operation.
constexpr int attempts = 4;

double nowMs()
{
    return OS().debugger().getPreciseTimeMs();
}

// Values in memory over a database. `lock_` guards the database; readers take it only when a check is
// due, and only if it is free, so no reader waits for a writer.
//
// A forked process keeps away from the disk: what SQLite knows of its parent's locks is not true of it. A
// store that it inherited may have been in use and is left alone; one of its own is in memory.
class SqliteSettings : public iSettings
{
public:
    explicit SqliteSettings(const LightweightString<wchar_t>& path) : path_(nativePath(path)), database_(path)
    {
        if (isInMemory_)
            error_ = forked;
    }
    ~SqliteSettings() override
    {
        if (isInherited())
            database_.abandon();
    }

    void getMultipleValues(std::vector<NameValuePair>& result, const LightweightString<char>& section) override
    {
        if (isReadable())
            values_.list(result, section);
    }

    bool findValue(std::string_view key, std::string_view section, LightweightString<char>& value) override
    {
        return isReadable() && values_.find(key, section, value);
    }

    bool readValue(std::string_view key, std::string_view section, Reader& reader) override
    {
        return isReadable() && values_.read(key, section, reader);
    }

    void getSections(std::vector<LightweightString<char>>& result) override
    {
        if (isReadable())
            values_.listSections(result);
    }

    int apply(const std::vector<Change>& changes) override;

    LightweightString<char> lastError() override;

private:
    using Text = LightweightString<char>;
    using Database = SettingsDatabase;

    class Turn;

    bool isInherited() const { return forks_ != forkCount(); }
    void sayForked();
    bool isReadable();
    void checkIfDue(double lastMs);
    void check();

    // The steps of the owner of `lock_`.
    template <class Step>
    Database::eOutcome attempt(Step step);
    Database::eOutcome refresh();
    int write(const std::vector<Change>& changes);
    bool holdsAll(const std::vector<Change>& changes) const;
    void leaveStore();
    void keepError(const Text& error);
    void takeNotice();

    const Text path_;
    const unsigned forks_ = forkCount();
    std::atomic<double> lastCheckMs_{-std::numeric_limits<double>::infinity()};
    std::atomic<bool> isLoaded_{false};
    std::atomic<bool> saidForked_{false};
    SettingsValues values_;

    RecursiveLock lock_;
    Database database_;
    bool isInMemory_ = forks_ != 0;
    bool saidUnreadable_ = false;
    std::vector<Text> notices_;

    std::mutex errorLock_; // held for no longer than a copy
    Text error_;
};

// The lock for a scope. What was to be said is said after it, since whoever hears it may read settings.
class SqliteSettings::Turn
{
public:
    Turn(SqliteSettings& settings, int timeoutMs) : settings_(settings), isMine_(settings.lock_.tryEnterFor(timeoutMs))
    {
    }
    ~Turn()
    {
        if (!isMine_)
            return;
        const std::vector<Text> notices = std::exchange(settings_.notices_, {});
        settings_.lock_.leave();
        for (const Text& notice : notices)
            OS().message(notice.c_str());
    }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;

    bool isMine() const { return isMine_; }

private:
    SqliteSettings& settings_;
    const bool isMine_;
};

bool SqliteSettings::isReadable()
{
    if (isInherited()) [[unlikely]]
    {
        sayForked();
        return false;
    }
    const double lastMs = lastCheckMs_.load(std::memory_order_acquire);
    const double sinceMs = OS().debugger().getCoarseTimeMs() - lastMs;
    if (!(sinceMs >= -coarseClockLagMs && sinceMs <= checkAfterMs - coarseClockLagMs)) [[unlikely]]
        checkIfDue(lastMs);
    return true;
}

void SqliteSettings::checkIfDue(double lastMs)
{
    // A clock that was set back asks for a check, too.
    const double sinceMs = nowMs() - lastMs;
    if (!(sinceMs >= 0 && sinceMs <= checkAfterMs))
        check();
}

// Only system calls that are safe after a fork: another thread may have held any lock, the log's too.
void SqliteSettings::sayForked()
{
    if (saidForked_.exchange(true))
        return;
    for (const std::string_view part : {std::string_view("A forked process uses no stored settings until it executes a"
                                                         " program: "),
                                        std::string_view(path_), std::string_view("\n")})
        if (::write(STDERR_FILENO, part.data(), part.size()) < 0)
            return;
}

void SqliteSettings::check()
{
    const bool isFirst = !isLoaded_.load(std::memory_order_acquire);
    const Turn turn(*this, isFirst ? waitForOthersMs : 0);
    if (!turn.isMine())
        return;
    database_.waitUntil(isLoaded_ ? 0 : nowMs() + waitForOthersMs);
    refresh();
}

int SqliteSettings::apply(const std::vector<Change>& changes)
{
    if (isInherited())
    {
        sayForked();
        return eForked;
    }
    const double until = nowMs() + waitForOthersMs;
    const Turn turn(*this, waitForOthersMs);
    if (!turn.isMine())
    {
        keepError("Another thread held the store for 30 seconds");
        return eBusy;
    }
    database_.waitUntil(until);
    return write(changes);
}

LightweightString<char> SqliteSettings::lastError()
{
    if (isInherited())
        return forked;
    const std::lock_guard lock(errorLock_);
    return error_;
}

void SqliteSettings::keepError(const Text& error)
{
    const std::lock_guard lock(errorLock_);
    error_ = error;
}

// Damage is repaired, and a file that was replaced opened anew, in between.
template <class Step>
SqliteSettings::Database::eOutcome SqliteSettings::attempt(Step step)
{
    for (int number = 0; number < attempts; ++number)
    {
        const Database::eOutcome outcome = step();
        if (outcome == Database::eMoved)
            continue;
        if (outcome != Database::eDamaged)
            return outcome;
        if (const Database::eOutcome replaced = database_.replaceDamaged(); replaced != Database::eDone)
            return replaced;
    }
    return Database::eUnusable;
}

// Brings the values up to date, or gives up the store: at the first time for any reason.
SqliteSettings::Database::eOutcome SqliteSettings::refresh()
{
    if (isInMemory_)
    {
        if (forks_ != 0)
            sayForked();
        isLoaded_.store(true, std::memory_order_release);
        lastCheckMs_.store(nowMs(), std::memory_order_release);
        return Database::eDone;
    }
    const Database::eOutcome outcome = attempt([this] { return database_.refresh(values_); });
    takeNotice();
    if (outcome == Database::eUnusable || (outcome != Database::eDone && !isLoaded_))
    {
        leaveStore();
        return Database::eDone;
    }
    isLoaded_.store(true, std::memory_order_release);
    if (outcome == Database::eFailed && !std::exchange(saidUnreadable_, true))
        notices_.push_back(Text("The settings in \"") + path_ +
                           "\" can't be read; those that were read before stay in use: " + database_.error());
    // Also where others were at the file: who reads while they commit does not ask each time.
    lastCheckMs_.store(nowMs(), std::memory_order_release);
    return outcome;
}

int SqliteSettings::write(const std::vector<Change>& changes)
{
    Database::eOutcome outcome = refresh();
    if (outcome == Database::eDone && !isInMemory_)
    {
        if (holdsAll(changes))
            return eStored;
        outcome = attempt(
            [&]
            {
                const Database::eOutcome fresh = database_.refresh(values_);
                return fresh == Database::eDone ? database_.write(changes, values_) : fresh;
            });
        takeNotice();
        if (outcome == Database::eUnusable)
            leaveStore();
    }
    if (isInMemory_)
    {
        values_.apply(changes);
        return eKeptInMemory;
    }
    if (outcome == Database::eDone)
        return eStored;
    keepError(database_.error());
    if (outcome == Database::eBusy)
        return eBusy;
    database_.refresh(values_); // as far as the disk can tell what has become of the change
    return eFailed;
}

bool SqliteSettings::holdsAll(const std::vector<Change>& changes) const
{
    return std::all_of(changes.begin(), changes.end(), [this](const Change& change) { return values_.holds(change); });
}

void SqliteSettings::leaveStore()
{
    isInMemory_ = true;
    database_.close();
    keepError(database_.error());
    isLoaded_.store(true, std::memory_order_release);
    lastCheckMs_.store(nowMs(), std::memory_order_release);
    notices_.push_back(Text("The settings store \"") + path_ +
                       "\" can't be used; this run keeps its settings in memory: " + database_.error());
}

void SqliteSettings::takeNotice()
{
    if (Text notice = database_.takeNotice(); !notice.empty())
        notices_.push_back(std::move(notice));
}

} // namespace

Mw::Ptr<iSettings> Mw::openSettingsFile(const LightweightString<wchar_t>& path)
{
    return Ptr<iSettings>(new SqliteSettings(path));
}
