// QUuid, in its fastest forms: 8-bit texts.

#include "bench/cookie.h"
#include "bench/harness/Keep.h"
#include "bench/harness/Registry.h"

#include <QByteArray>
#include <QLatin1StringView>
#include <QUuid>

namespace
{

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        static QUuid uuid = QUuid::fromString(QLatin1StringView(bench::uuidText));
        static const QByteArray stored(bench::uuidText);
        for (const char* caseName : bench::textOutCases)
            registry.peer(caseName, "QUuid",
                          []
                          {
                              bench::keep(uuid);
                              QByteArray text = uuid.toByteArray(QUuid::WithoutBraces);
                              bench::keep(text);
                          });
        for (const char* caseName : bench::textInCases)
            registry.peer(caseName, "QUuid",
                          []
                          {
                              QUuid read = QUuid::fromString(QLatin1StringView(bench::hidden(stored.constData()), 36));
                              bench::keep(read);
                          });
    });

} // namespace
