// Qt's signals, connected directly, through a class that Qt has ready: numbers and texts that QSignalMapper
// emits. Its messages are implicitly shared texts.

#include "bench/harness/Keep.h"
#include "bench/harness/Registry.h"
#include "bench/notify.h"

#include <QSignalMapper>
#include <QString>

namespace
{

using namespace bench::notify;

struct Number
{
    int value;
};

auto connectNumber(QSignalMapper* mapper, Client& client)
{
    return QObject::connect(
        mapper, &QSignalMapper::mappedInt, mapper, [&client](int value) { client.takeEvent(Number{value}); },
        Qt::DirectConnection);
}

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        const char* const name = "Qt signals";
        for (const int count : issueCounts)
        {
            auto* const mapper = new QSignalMapper;
            for (int i = 0; i < count; ++i)
            {
                connectNumber(mapper, newClient());
                QObject::connect(
                    mapper, &QSignalMapper::mappedString, mapper,
                    [&client = newClient()](const QString& text) { client.takeMessage(text); }, Qt::DirectConnection);
            }
            registry.peer(eventCase(count), name,
                          [mapper, number = 0]() mutable { emit bench::hidden(mapper)->mappedInt(++number); });
            registry.peer(messageCase(count), name,
                          [mapper, text = QString("changed")] { emit bench::hidden(mapper)->mappedString(text); });
        }
        for (const int others : registeredCounts)
        {
            auto* const mapper = new QSignalMapper;
            for (int i = 0; i < others; ++i)
                connectNumber(mapper, newClient());
            registry.peer(registerCase(others), name,
                          [mapper, &client = newClient()] { QObject::disconnect(connectNumber(mapper, client)); });
        }
    });

} // namespace
