// LMDB: one transaction that appends all in the order of their ids, as the index gives them, and cursors over
// the map. The environment is made anew for each file, or kept open where the database is emptied and filled.

#include "bench/harness/Keep.h"
#include "bench/harness/Registry.h"
#include "bench/swap.h"

#include <cstdlib>
#include <lmdb.h>

namespace
{

using namespace bench::swap;

void require(int result)
{
    if (result != MDB_SUCCESS)
        std::abort();
}

class Store
{
public:
    Store(const std::string& path, unsigned flags)
    {
        require(mdb_env_create(&env_));
        require(mdb_env_set_mapsize(env_, std::size_t{256} << 20));
        require(mdb_env_open(env_, path.c_str(), flags | MDB_NOSUBDIR, 0600));
    }
    ~Store() { mdb_env_close(env_); }
    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;

    MDB_txn* begin(unsigned flags)
    {
        MDB_txn* txn = nullptr;
        require(mdb_txn_begin(env_, nullptr, flags, &txn));
        require(mdb_dbi_open(txn, nullptr, 0, &dbi_));
        return txn;
    }
    MDB_dbi dbi() const { return dbi_; }

private:
    MDB_env* env_ = nullptr;
    MDB_dbi dbi_ = 0;
};

void fill(Store& store, MDB_txn* txn)
{
    std::string bytes;
    for (const auto& [id, handle] : shots().byId)
    {
        packShot(bytes, *handle->shot);
        MDB_val key = {id.size(), const_cast<unsigned char*>(id.data())};
        MDB_val value = {bytes.size(), bytes.data()};
        require(mdb_put(txn, store.dbi(), &key, &value, MDB_APPEND));
    }
    require(mdb_txn_commit(txn));
}

void write(const std::string& path, unsigned flags)
{
    std::filesystem::remove(path);
    std::filesystem::remove(path + "-lock");
    Store store(path, flags);
    fill(store, store.begin(0));
}

void replace(Store& store)
{
    MDB_txn* const txn = store.begin(0);
    require(mdb_drop(txn, store.dbi(), 0));
    fill(store, txn);
}

std::string filled()
{
    static const std::string path = [] { return write(folder() / "lmdb-read", MDB_NOSYNC), folder() / "lmdb-read"; }();
    return path;
}

std::string_view text(const MDB_val& value)
{
    return {static_cast<const char*>(value.mv_data), value.mv_size};
}

void open()
{
    Store store(filled(), MDB_RDONLY);
    MDB_txn* const txn = store.begin(MDB_RDONLY);
    MDB_cursor* cursor = nullptr;
    require(mdb_cursor_open(txn, store.dbi(), &cursor));
    Index index;
    MDB_val key, value;
    while (mdb_cursor_get(cursor, &key, &value, MDB_NEXT) == MDB_SUCCESS)
        index.add(text(key), text(value));
    mdb_cursor_close(cursor);
    mdb_txn_abort(txn);
    if (index.handles.size() != objectCount)
        std::abort();
}

void demand()
{
    static Store store(filled(), MDB_RDONLY);
    static MDB_txn* const txn = store.begin(MDB_RDONLY);
    static const std::vector<unsigned> order = anyOrder(demandCount);
    static std::size_t next = 0;
    Id id = idOf(order[next++ % order.size()]);
    MDB_val key = {id.size(), id.data()};
    MDB_val value;
    require(mdb_get(txn, store.dbi(), &key, &value));
    auto shot = readShot(text(value));
    bench::keep(shot);
}

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        registry.peer(flushCase, "LMDB", [] { write(folder() / "lmdb", MDB_NOSYNC); });
        registry.peer(syncCase, "LMDB", [] { write(folder() / "lmdb", 0); });
        registry.peer(flushCase, "LMDB in place",
                      []
                      {
                          static Store store(folder() / "lmdb-kept", MDB_NOSYNC);
                          replace(store);
                      });
        registry.peer(syncCase, "LMDB in place",
                      []
                      {
                          static Store store(folder() / "lmdb-synced", 0);
                          replace(store);
                      });
        registry.peer(openCase, "LMDB", open);
        registry.peer(demandCase, "LMDB", demand);
    });

} // namespace
