// SQLite: one transaction of all objects, and statements that are prepared once.

#include "bench/harness/Keep.h"
#include "bench/harness/Registry.h"
#include "bench/swap.h"

#include <cstdlib>
#include <sqlite3.h>

namespace
{

using namespace bench::swap;

void require(bool good)
{
    if (!good)
        std::abort();
}

class Store
{
public:
    explicit Store(const std::string& path) { require(sqlite3_open(path.c_str(), &db_) == SQLITE_OK); }
    ~Store() { sqlite3_close(db_); }
    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;

    void run(const char* sql) { require(sqlite3_exec(db_, sql, nullptr, nullptr, nullptr) == SQLITE_OK); }
    sqlite3_stmt* prepare(const char* sql)
    {
        sqlite3_stmt* statement = nullptr;
        require(sqlite3_prepare_v2(db_, sql, -1, &statement, nullptr) == SQLITE_OK);
        return statement;
    }

private:
    sqlite3* db_ = nullptr;
};

void write(const std::string& path, const char* synchronous)
{
    std::filesystem::remove(path);
    Store store(path);
    store.run(synchronous);
    store.run("CREATE TABLE objects (id BLOB PRIMARY KEY, value BLOB) WITHOUT ROWID; BEGIN");
    sqlite3_stmt* const insert = store.prepare("INSERT INTO objects VALUES (?, ?)");
    std::string bytes;
    for (const auto& [id, handle] : shots().byId)
    {
        packShot(bytes, *handle->shot);
        sqlite3_bind_blob(insert, 1, id.data(), static_cast<int>(id.size()), SQLITE_STATIC);
        sqlite3_bind_blob(insert, 2, bytes.data(), static_cast<int>(bytes.size()), SQLITE_STATIC);
        require(sqlite3_step(insert) == SQLITE_DONE);
        sqlite3_reset(insert);
    }
    sqlite3_finalize(insert);
    store.run("COMMIT");
}

std::string filled()
{
    static const std::string path = []
    { return write(folder() / "sqlite-read", "PRAGMA synchronous=OFF"), folder() / "sqlite-read"; }();
    return path;
}

std::string_view column(sqlite3_stmt* row, int index)
{
    return {static_cast<const char*>(sqlite3_column_blob(row, index)),
            static_cast<std::size_t>(sqlite3_column_bytes(row, index))};
}

void open()
{
    Store store(filled());
    sqlite3_stmt* const rows = store.prepare("SELECT id, value FROM objects ORDER BY id");
    Index index;
    while (sqlite3_step(rows) == SQLITE_ROW)
        index.add(column(rows, 0), column(rows, 1));
    sqlite3_finalize(rows);
    require(index.handles.size() == objectCount);
}

void demand()
{
    static Store store(filled());
    static sqlite3_stmt* const select = store.prepare("SELECT value FROM objects WHERE id = ?");
    static const std::vector<unsigned> order = anyOrder(demandCount);
    static std::size_t next = 0;
    const Id id = idOf(order[next++ % order.size()]);
    sqlite3_bind_blob(select, 1, id.data(), static_cast<int>(id.size()), SQLITE_STATIC);
    require(sqlite3_step(select) == SQLITE_ROW);
    auto shot = readShot(column(select, 0));
    bench::keep(shot);
    sqlite3_reset(select);
}

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        registry.peer(flushCase, "SQLite", [] { write(folder() / "sqlite", "PRAGMA synchronous=OFF"); });
        registry.peer(syncCase, "SQLite", [] { write(folder() / "sqlite", "PRAGMA synchronous=FULL"); });
        registry.peer(openCase, "SQLite", open);
        registry.peer(demandCase, "SQLite", demand);
    });

} // namespace
