#include "OS/linux/SqliteConnection.h"

#include "OS/Debugger.h"
#include "OS/OS.h"

#include <ctime>

int SqliteConnection::open(const Text& path, int flags)
{
    close();
    const int code =
        keep(sqlite3_open_v2(path.c_str(), &database_, flags | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE, nullptr));
    if (code != SQLITE_OK)
    {
        close();
        return code;
    }
    sqlite3_busy_handler(database_, onBusy, this);
    // What stands in the file is data, whatever it says; it runs nothing.
    sqlite3_db_config(database_, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    sqlite3_db_config(database_, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
    sqlite3_db_config(database_, SQLITE_DBCONFIG_ENABLE_TRIGGER, 0, nullptr);
    return code;
}

void SqliteConnection::close()
{
    sqlite3_close(database_);
    database_ = nullptr;
}

int SqliteConnection::run(const char* statements)
{
    return keep(sqlite3_exec(database_, statements, nullptr, nullptr, nullptr));
}

int SqliteConnection::number(const char* statement, std::int64_t& value)
{
    SqliteStatement asked(*this, statement);
    const int code = asked.step();
    if (code != SQLITE_ROW)
        return code == SQLITE_DONE ? SQLITE_ERROR : code;
    value = asked.number(0);
    return SQLITE_OK;
}

bool SqliteConnection::hasMoved()
{
    int moved = 0;
    return sqlite3_file_control(database_, "main", SQLITE_FCNTL_HAS_MOVED, &moved) == SQLITE_OK && moved != 0;
}

int SqliteConnection::keep(int code)
{
    if (code == SQLITE_OK || code == SQLITE_ROW || code == SQLITE_DONE)
        return code;
    systemError_ = database_ != nullptr ? sqlite3_system_errno(database_) : 0;
    error_ = database_ != nullptr ? sqlite3_errmsg(database_) : sqlite3_errstr(code);
    return code;
}

int SqliteConnection::onBusy(void* self, int)
{
    if (OS().debugger().getPreciseTimeMs() >= static_cast<SqliteConnection*>(self)->waitUntilMs_)
        return 0;
    // There is nothing to be woken by when another process lets go.
    const timespec step = {0, 500'000};
    ::nanosleep(&step, nullptr);
    return 1;
}

SqliteStatement::SqliteStatement(SqliteConnection& connection, const char* statement)
    : connection_(connection),
      code_(connection.keep(sqlite3_prepare_v2(connection.get(), statement, -1, &statement_, nullptr)))
{
}

int SqliteStatement::step()
{
    if (code_ == SQLITE_OK || code_ == SQLITE_ROW)
        code_ = connection_.keep(sqlite3_step(statement_));
    return code_;
}

void SqliteStatement::bind(int parameter, std::string_view text)
{
    if (code_ != SQLITE_OK)
        return;
    // The length is given, so zero bytes inside are kept; a null address would mean the null value.
    const char* const start = text.empty() ? "" : text.data();
    code_ =
        connection_.keep(sqlite3_bind_text64(statement_, parameter, start, text.size(), SQLITE_STATIC, SQLITE_UTF8));
}

void SqliteStatement::reset()
{
    if (code_ == SQLITE_DONE || code_ == SQLITE_ROW)
        code_ = sqlite3_reset(statement_);
}

SqliteStatement::Text SqliteStatement::text(int column)
{
    const auto* const start = reinterpret_cast<const char*>(sqlite3_column_text(statement_, column));
    if (start == nullptr && sqlite3_column_type(statement_, column) != SQLITE_NULL)
        code_ = connection_.keep(SQLITE_NOMEM);
    return Text(start, static_cast<unsigned>(sqlite3_column_bytes(statement_, column)));
}
