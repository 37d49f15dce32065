// QDataStream over a byte array, and QSaveFile, which writes beside and renames as ours does.

#include "bench/harness/Keep.h"
#include "bench/harness/Registry.h"
#include "bench/stream.h"

#include <QDataStream>
#include <QSaveFile>

#include <algorithm>
#include <cstdlib>

namespace
{

using bench::stored::Record;

void primitivesOutAndIn()
{
    QByteArray bytes;
    {
        QDataStream stream(&bytes, QIODevice::WriteOnly);
        stream.setByteOrder(QDataStream::LittleEndian);
        Record out;
        bench::keep(out);
        for (int i = 0; i < bench::stored::recordCount; ++i)
            stream << qint8(out.kind) << qint16(out.track) << quint16(out.flags) << qint32(out.offset)
                   << quint32(out.length) << qint64(out.start) << quint64(out.end) << out.rate << qint32(out.level)
                   << out.gain;
    }
    QDataStream stream(bytes);
    stream.setByteOrder(QDataStream::LittleEndian);
    for (int i = 0; i < bench::stored::recordCount; ++i)
    {
        qint8 kind;
        qint64 start;
        quint64 end;
        Record in;
        stream >> kind >> in.track >> in.flags >> in.offset >> in.length >> start >> end >> in.rate >> in.level >>
            in.gain;
        in.kind = static_cast<char>(kind);
        in.start = static_cast<long>(start);
        in.end = static_cast<unsigned long>(end);
        bench::keep(in);
    }
}

void replaceFile()
{
    const std::string& bytes = bench::stored::twentyMegabytes();
    QSaveFile file(QString::fromStdString(bench::stored::folder() / "qt"));
    bool good = file.open(QIODevice::WriteOnly);
    for (std::size_t done = 0; done < bytes.size(); done += bench::stored::partBytes)
        file.write(bytes.data() + done, static_cast<qint64>(std::min(bench::stored::partBytes, bytes.size() - done)));
    good = good && file.commit();
    if (!good)
        std::abort();
}

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        registry.peer("stream/1,000,000 primitives out and in", "QDataStream", primitivesOutAndIn);
        registry.peer("stream/20 MB replaced on the disk", "QSaveFile", replaceFile);
    });

} // namespace
