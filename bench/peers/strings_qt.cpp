// QString, which keeps texts in UTF-16 and counts copies as ours does, and QCollator.

#include "bench/harness/Keep.h"
#include "bench/harness/Registry.h"
#include "bench/strings.h"

#include <QCollator>
#include <QString>
#include <QStringList>

#include <functional>

namespace
{

void addValues(bench::Registry& registry)
{
    static QString forty = QString::fromUtf8(bench::texts::forty);

    registry.peer("strings/copy 40 characters", "QString",
                  []
                  {
                      QString copy(forty);
                      bench::keep(copy);
                  });
    registry.peer("strings/make 40 characters", "QString",
                  [turns = bench::texts::Turns<QString>()]() mutable {
                      turns.next([] { return QString(bench::hidden(forty.constData()), bench::hidden(forty.size())); });
                  });
    registry.peer("strings/equality of 40 characters", "QString",
                  [pairs = bench::texts::Pairs<QString>(bench::texts::forty, bench::texts::forty)]() mutable
                  { pairs.next(std::equal_to<>()); });
    registry.peer("strings/order of 40 characters", "QString",
                  [pairs = bench::texts::Pairs<QString>(bench::texts::forty, bench::texts::fortyLater)]() mutable
                  { pairs.next(std::less<>()); });
}

void addWork(bench::Registry& registry)
{
    static const QString sixteen = QString::fromUtf8(bench::texts::appendedSixteen);
    static const QString fourKilobytes = QString::fromStdString(bench::texts::fourKilobytes());
    static const QString replaced = QString::fromUtf8(bench::texts::replaced);
    static const QString replacement = QString::fromUtf8(bench::texts::replacement);
    static const QString thousandFields = QString::fromStdString(bench::texts::thousandFields());

    registry.peer("strings/append 1 character 1,000 times", "QString",
                  []
                  {
                      QString text;
                      for (int i = 0; i < bench::texts::appendCount; ++i)
                          text.append(QLatin1Char(bench::hidden(bench::texts::appendedCharacter)));
                      bench::keep(text);
                  });
    registry.peer("strings/append 16 characters 1,000 times", "QString",
                  []
                  {
                      QString text;
                      for (int i = 0; i < bench::texts::appendCount; ++i)
                          text.append(bench::hidden(sixteen.constData()), bench::hidden(16));
                      bench::keep(text);
                  });
    registry.peer("strings/substitute over 4 KB", "QString",
                  []
                  {
                      QString text = fourKilobytes;
                      text.replace(replaced, replacement);
                      bench::keep(text);
                  });
    registry.peer("strings/splitIf of 1,000 fields", "QString",
                  []
                  {
                      QStringList pieces = thousandFields.split(QLatin1Char(bench::texts::separator));
                      bench::keep(pieces);
                  });
}

void addNames(bench::Registry& registry)
{
    static const QCollator collator = []
    {
        QCollator natural(QLocale(QLocale::English, QLocale::UnitedStates));
        natural.setNumericMode(true);
        natural.setCaseSensitivity(Qt::CaseInsensitive);
        return natural;
    }();
    static const std::vector<std::pair<QString, QString>> pairs(bench::texts::namePairs.begin(),
                                                                bench::texts::namePairs.end());
    registry.peer("strings/strxcmp of typical names", "QCollator",
                  []
                  {
                      for (const auto& [first, second] : pairs)
                          bench::keepNumber(collator.compare(first, second));
                  });
}

void addConversions(bench::Registry& registry)
{
    const auto from = [](const std::string& text)
    {
        return [&text]
        {
            QString wide = QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
            bench::keep(wide);
        };
    };
    const auto to = [](const std::string& text)
    {
        return [wide = QString::fromStdString(text)]
        {
            QByteArray narrow = wide.toUtf8();
            bench::keep(narrow);
        };
    };
    registry.peer("strings/fromUTF8 of ASCII", "QString", from(bench::texts::ascii()));
    registry.peer("strings/fromUTF8 of mixed text", "QString", from(bench::texts::mixed()));
    registry.peer("strings/toUTF8 of ASCII", "QString", to(bench::texts::ascii()));
    registry.peer("strings/toUTF8 of mixed text", "QString", to(bench::texts::mixed()));
}

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        addValues(registry);
        addWork(registry);
        addNames(registry);
        addConversions(registry);
    });

} // namespace
