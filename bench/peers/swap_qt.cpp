// QDataStream to a file, with the place of each object by its id behind them.

#include "bench/harness/Registry.h"
#include "bench/swap.h"

#include <QDataStream>
#include <QFile>

#include <cstdlib>

namespace
{

using namespace bench::swap;

void write(bool sync)
{
    const QString path = QString::fromStdString(folder() / "qt");
    const QString beside = path + ".TMP";
    QFile file(beside);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        std::abort();
    QDataStream stream(&file);
    std::map<Id, qint64> places;
    std::string bytes;
    for (const auto& handle : shots().handles)
    {
        places.emplace_hint(places.end(), handle->id, file.pos());
        packShot(bytes, *handle->shot);
        stream.writeBytes(bytes.data(), static_cast<uint>(bytes.size()));
    }
    for (const auto& [id, place] : places)
    {
        stream.writeRawData(reinterpret_cast<const char*>(id.data()), static_cast<int>(id.size()));
        stream << place;
    }
    if (!file.flush() || (sync && ::fsync(file.handle()) != 0))
        std::abort();
    file.close();
    QFile::remove(path);
    if (!QFile::rename(beside, path))
        std::abort();
}

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        registry.peer(flushCase, "QDataStream", [] { write(false); });
        registry.peer(syncCase, "QDataStream", [] { write(true); });
    });

} // namespace
