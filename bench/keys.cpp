// Area keys, the rows of texts and changes: what a key is called, and what it costs to bind one for good.
//
// Workload: bench/keys.h. Texts are made anew each time. A change binds a key and takes it away again in turns, with
// 500 other differences stored; each ends when the store has it on the disk.

#include "bench/keys.h"

#include "OS/Desktop.h"
#include "OS/OS.h"
#include "OS/testing/ForwardingDesktop.h"
#include "bench/harness/Keep.h"
#include "bench/harness/Registry.h"
#include "bench/settings.h"
#include "misc/commands/KeyCode.h"
#include "misc/commands/MappingManager.h"
#include "misc/commands/SimpleKeyMapper.h"
#include "misc/settings/RegistryConfig.h"

#include <cstdlib>
#include <optional>

namespace bench::keys
{

namespace
{

// A client on a store on the disk that is nobody's.
class Client
{
public:
    Client()
    {
        ::setenv("MW_CONFIG_DIR", (settings::folder() / "keys").c_str(), 1);
        OS().replace(new ForwardingDesktop);
        std::vector<KeyMap> maps;
        std::vector<iSettings::Change> changes;
        for (int number = 0; number < storedDifferences; ++number)
        {
            const KeyMap& map = maps.emplace_back(("Command " + std::to_string(number)).c_str());
            const std::string code = std::to_string(1000 + number);
            const std::string name = "Bench:\"" + std::string(map.outputString().c_str()) + "\":0x" + code + "::::";
            changes.push_back({name.c_str(), "Configuration\\MappingManager2", LightweightString<char>("true")});
        }
        UserConfig().apply(changes);
        mapper_.emplace("Bench", ResId::none, ResId::none, std::move(maps), true, SimpleKeyMapper::clientScope);
        index_ = MappingManager::globalMappingManager().numClients() - 1;
    }

    void change()
    {
        MappingManager& manager = MappingManager::globalMappingManager();
        const bool isDone =
            isBound_ ? manager.removeFromKeyMap(index_, 250, 'x') : manager.addToKeyMap(index_, 250, 'x');
        if (!isDone)
            std::abort();
        isBound_ = !isBound_;
    }

private:
    std::optional<SimpleKeyMapper> mapper_;
    unsigned index_ = 0;
    bool isBound_ = false;
};

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        registry.declare({showCase, "Makes the display text of a key with its modifiers.", {{0.5, bench::bestPeer}}});
        registry.declare({readCase, "Reads a character with its modifiers.", {{0.5, bench::bestPeer}}});
        registry.declare({changeCase,
                          "Binds a key to an action, or takes it away, beside 500 stored differences.",
                          {{1.5, bench::bestPeer}},
                          1,
                          bench::Clock::wall});
        registry.ours(showCase,
                      [keys = Round(shownKeys)]() mutable
                      {
                          LightweightString<wchar_t> text = keycodeToString(keys.next().code);
                          bench::keep(text);
                      });
        // Callers have a string.
        static const std::vector<LightweightString<char>> texts = []
        {
            std::vector<LightweightString<char>> made;
            for (const Key& key : readKeys)
                made.emplace_back(key.text);
            return made;
        }();
        registry.ours(readCase,
                      [at = std::size_t(0)]() mutable
                      {
                          at = at + 1 < texts.size() ? at + 1 : 0;
                          bench::keepNumber(stringToKeycode(texts[at]));
                      });
        registry.add(changeCase, {bench::Role::ours, "ours",
                                  [](std::size_t count)
                                  {
                                      static Client& client = *new Client;
                                      for (; count != 0; --count)
                                          client.change();
                                  }});
    });

} // namespace

} // namespace bench::keys
