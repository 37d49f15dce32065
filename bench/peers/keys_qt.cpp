#include "bench/harness/Keep.h"
#include "bench/harness/Registry.h"
#include "bench/keys.h"
#include "bench/settings.h"

#include <QKeySequence>
#include <QSettings>

#include <cstdlib>
#include <memory>
#include <vector>

namespace
{

using namespace bench::keys;

std::unique_ptr<QSettings> makeSettings()
{
    auto settings = std::make_unique<QSettings>(QString::fromStdString(bench::settings::folder() / "keys.ini"),
                                                QSettings::IniFormat);
    settings->beginGroup("mappings");
    for (int number = 0; number < storedDifferences; ++number)
        settings->setValue(QString("Bench:Command %1:0x%2").arg(number).arg(1000 + number), true);
    settings->sync();
    return settings;
}

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        static const std::vector<QKeySequence> sequences = []
        {
            std::vector<QKeySequence> made;
            for (const Key& key : shownKeys)
                made.push_back(QKeySequence::fromString(key.text, QKeySequence::PortableText));
            return made;
        }();
        static const std::vector<QString> texts = []
        {
            std::vector<QString> made;
            for (const Key& key : readKeys)
                made.push_back(key.text);
            return made;
        }();
        registry.peer(showCase, "QKeySequence",
                      [at = std::size_t(0)]() mutable
                      {
                          at = at + 1 < sequences.size() ? at + 1 : 0;
                          QString text = sequences[at].toString(QKeySequence::PortableText);
                          bench::keep(text);
                      });
        registry.peer(readCase, "QKeySequence",
                      [at = std::size_t(0)]() mutable
                      {
                          at = at + 1 < texts.size() ? at + 1 : 0;
                          QKeySequence sequence = QKeySequence::fromString(texts[at], QKeySequence::PortableText);
                          bench::keep(sequence);
                      });
        registry.add(changeCase, {bench::Role::peer, "QSettings",
                                  [](std::size_t count)
                                  {
                                      static const std::unique_ptr<QSettings> settings = makeSettings();
                                      static bool isBound = false;
                                      for (; count != 0; --count)
                                      {
                                          isBound = !isBound;
                                          if (isBound)
                                              settings->setValue("Bench:Command 250:0x0078", true);
                                          else
                                              settings->remove("Bench:Command 250:0x0078");
                                          settings->sync();
                                          if (settings->status() != QSettings::NoError)
                                              std::abort();
                                      }
                                  }});
    });

} // namespace
