// QSettings over an ini file with the differences, and a QHash from key codes to names.

#include "bench/harness/Keep.h"
#include "bench/harness/Registry.h"
#include "bench/keys_commands.h"
#include "bench/settings.h"

#include <QHash>
#include <QSettings>
#include <QStringList>

namespace
{

using namespace bench::keys;

QString writeDifferences()
{
    const QString path = QString::fromStdString(bench::settings::folder() / "qt-keys.ini");
    QSettings settings(path, QSettings::IniFormat);
    settings.beginGroup("MappingManager2");
    for (const Difference& difference : differences())
        settings.setValue(QString::fromStdString(difference.name), difference.adds);
    return path;
}

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        registry.peer(startCase, "QSettings and QHash",
                      []
                      {
                          static const QString path = writeDifferences();
                          QSettings settings(path, QSettings::IniFormat);
                          settings.beginGroup("MappingManager2");
                          int added = 0;
                          for (const QString& key : settings.allKeys())
                              added += settings.value(key).toBool();
                          bench::keepNumber(added);
                          QHash<int, QString> names;
                          for (const Command& command : commands())
                              names.insert(command.key, QString::fromStdString(command.name));
                          bench::keep(names);
                      });
    });

} // namespace
