#pragma once

#include "Mw/LightweightString.h"

#include <cstdint>
#include <sqlite3.h>
#include <string_view>

// A connection to an SQLite database. Operations give SQLite's extended result codes, and waits for
// locks end at a time that is set. One thread at a time.
class SqliteConnection
{
public:
    using Text = LightweightString<char>;

    SqliteConnection() = default;
    ~SqliteConnection() { close(); }
    SqliteConnection(const SqliteConnection&) = delete;
    SqliteConnection& operator=(const SqliteConnection&) = delete;

    // `flags` are those of sqlite3_open_v2. On failure the connection is closed again.
    int open(const Text& path, int flags);
    void close();
    bool isOpen() const { return database_ != nullptr; }
    sqlite3* get() const { return database_; }

    // Forgets the connection without touching its file, as a forked child must.
    void abandon() { database_ = nullptr; }

    // What waits for a lock gives SQLITE_BUSY once OS().debugger().getPreciseTimeMs() is past this.
    void waitUntil(double timeMs) { waitUntilMs_ = timeMs; }

    // Runs statements whose rows nobody wants.
    int run(const char* statements);

    // The first column of the statement's first row.
    int number(const char* statement, std::int64_t& value);

    // Whether the file that is open is no longer the one with its name.
    bool hasMoved();

    // Of the failure that was reported last: SQLite's text, and errno where the system was the reason.
    Text error() const { return error_; }
    int systemError() const { return systemError_; }

    // Keeps the reason for error(). Gives `code`.
    int keep(int code);

private:
    static int onBusy(void* self, int);

    sqlite3* database_ = nullptr;
    double waitUntilMs_ = 0;
    Text error_;
    int systemError_ = 0;
};

// A statement of a connection, which must live as long.
class SqliteStatement
{
public:
    using Text = LightweightString<char>;

    SqliteStatement(SqliteConnection& connection, const char* statement);
    ~SqliteStatement() { sqlite3_finalize(statement_); }
    SqliteStatement(const SqliteStatement&) = delete;
    SqliteStatement& operator=(const SqliteStatement&) = delete;

    // SQLITE_ROW or SQLITE_DONE if all went well, that which failed first otherwise.
    int step();

    // `text` must live until the statement is reset.
    void bind(int parameter, std::string_view text);
    void reset();

    std::int64_t number(int column) { return sqlite3_column_int64(statement_, column); }
    Text text(int column);

private:
    SqliteConnection& connection_;
    sqlite3_stmt* statement_ = nullptr;
    int code_;
};
