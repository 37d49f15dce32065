// QSettings over an ini file. It parses a group when that is asked for, so reading asks for all keys.

#include "bench/harness/Keep.h"
#include "bench/harness/Registry.h"
#include "bench/settings.h"

#include <QSettings>
#include <QStringList>

#include <vector>

namespace
{

using namespace bench::settings;

void addLookup(bench::Registry& registry, const char* caseName, const std::vector<std::string>& asked)
{
    static QSettings& settings = []() -> QSettings&
    {
        QSettings& made = *new QSettings(QString::fromStdString(folder() / "qt-lookup.ini"), QSettings::IniFormat);
        for (const std::string& name : names())
            made.setValue(QString::fromStdString(name), value);
        return made;
    }();
    // Each side starts from the form that it keeps texts in.
    std::vector<QString> keys;
    for (const std::string& name : asked)
        keys.push_back(QString::fromStdString(name));
    registry.peer(caseName, "QSettings",
                  [keys, i = std::size_t(0)]() mutable
                  {
                      bench::keepNumber(settings.value(keys[i], value).toInt());
                      i = i + 1 < keys.size() ? i + 1 : 0;
                  });
}

void addRead(bench::Registry& registry, const char* caseName, const char* fileName, const Pairs& entries)
{
    registry.peer(caseName, "QSettings",
                  [path = QString::fromStdString(writeFile(fileName, iniOf(entries)))]
                  {
                      const QSettings settings(path, QSettings::IniFormat);
                      bench::keepNumber(settings.allKeys().size());
                  });
}

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        addLookup(registry, "settings/config_int of an absent key", absentNames());
        addLookup(registry, "settings/config_int from the store", names());
        addLookup(registry, "settings/config_int from a legacy file", names());
        addRead(registry, "settings/read 10,000 lines", "qt.ini", ordered());
        addRead(registry, "settings/read 10,000 lines shuffled", "qt-shuffled.ini", shuffled());
    });

} // namespace
