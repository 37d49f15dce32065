// LevelDB: one batch of all objects.

#include "bench/harness/Registry.h"
#include "bench/swap.h"

#include <cstdlib>
#include <leveldb/db.h>
#include <leveldb/write_batch.h>

namespace
{

using namespace bench::swap;

void write(bool sync)
{
    const std::string path = folder() / "leveldb";
    std::filesystem::remove_all(path);
    leveldb::Options options;
    options.create_if_missing = true;
    leveldb::DB* opened = nullptr;
    if (!leveldb::DB::Open(options, path, &opened).ok())
        std::abort();
    const std::unique_ptr<leveldb::DB> store(opened);
    leveldb::WriteBatch batch;
    std::string bytes;
    for (const auto& [id, handle] : shots().byId)
    {
        packShot(bytes, *handle->shot);
        batch.Put({reinterpret_cast<const char*>(id.data()), id.size()}, bytes);
    }
    leveldb::WriteOptions how;
    how.sync = sync;
    if (!store->Write(how, &batch).ok())
        std::abort();
}

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        registry.peer(flushCase, "LevelDB", [] { write(false); });
        registry.peer(syncCase, "LevelDB", [] { write(true); });
    });

} // namespace
