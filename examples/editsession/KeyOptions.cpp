#include "examples/editsession/KeyOptions.h"

#include "examples/editsession/Session.h"
#include "libmw/Text.h"
#include "misc/commands/CommandMapMMC.h"
#include "misc/commands/KeyCode.h"
#include "misc/commands/MappingManager.h"

namespace
{

// A gesture may have got no code.
bool isKey(const MapItem& item)
{
    return item.valid() && item.mappedKeyCode() != 0;
}

// The commands as a client of the mapping manager, with its place there.
class Commands
{
public:
    Commands()
    {
        CommandMapMMC::GlobalCommands();
        while (manager().client(client_)->internalName() != "GlobalCommands")
            ++client_;
    }

    static MappingManager& manager() { return MappingManager::globalMappingManager(); }
    const MappingManagerClientBase& client() const { return *manager().client(client_); }

    // Makes one change. Gives what is wrong with it.
    Text change(const KeyChange& change) const
    {
        if (change.kind == KeyChange::ResetAll)
            return manager().resetToDefault() ? "" : "the settings can't be written";
        const unsigned map = find(change.command);
        if (map == client().numKeyMaps())
            return quoted(change.command) + " is no command; --list-keys shows them all";
        const MapItem key = mapItemFromText(fromUTF8(change.key));
        if (!isKey(key))
            return quoted(change.key) + " is no key";
        return change.kind == KeyChange::Bind ? bind(map, key.mappedKeyCode()) : unbind(map, key.mappedKeyCode());
    }

private:
    unsigned find(const Text& command) const
    {
        unsigned map = 0;
        while (map < client().numKeyMaps() && client().keyMap(map)->outputString() != command)
            ++map;
        return map;
    }

    Text bind(unsigned map, int keycode) const
    {
        if (const KeyMap* const user = client().handlerOf(keycode))
            return shown(keycode) + " is bound to " + quoted(user->outputString()) + " already";
        return manager().addToKeyMap(client_, map, keycode) ? "" : "the settings can't be written";
    }

    Text unbind(unsigned map, int keycode) const
    {
        const MapItem* const item = client().keyMap(map)->lookup(keycode);
        if (item == nullptr)
            return shown(keycode) + " isn't bound to it";
        if (item->readOnly())
            return shown(keycode) + " can't be taken from it";
        return manager().removeFromKeyMap(client_, map, keycode) ? "" : "the settings can't be written";
    }

    static Text shown(int keycode) { return toUTF8(keycodeToString(keycode)); }

    unsigned client_ = 0;
};

Text keysOf(const KeyMap& map)
{
    Text keys;
    for (const MapItem& item : map.mapItems())
        keys += (keys.empty() ? Text() : Text(", ")) + toUTF8(keycodeToString(item.mappedKeyCode()));
    return keys.empty() ? "-" : keys;
}

Text conflictText(const MappingManager::Conflict& conflict)
{
    Text line = toUTF8(keycodeToString(conflict.keycode)) + " is bound more than once:";
    for (const MappingManager::Use& use : conflict.uses)
        line += " " + use.clientInternalName + " " + quoted(toUTF8(use.actionName));
    return line + "\n";
}

Text listText(const Commands& commands)
{
    Text text;
    for (unsigned i = 0; i < commands.client().numKeyMaps(); ++i)
    {
        const KeyMap& map = *commands.client().keyMap(i);
        text += formatted("%-20s %-20s %s\n", map.outputString().c_str(), keysOf(map).c_str(),
                          toUTF8(map.displayDescription()).c_str());
    }
    for (const MappingManager::Conflict& conflict : MappingManager::globalMappingManager().conflicts())
        text += conflictText(conflict);
    return text;
}

const char* nameOf(KeyChange::Kind kind)
{
    constexpr const char* names[] = {"--bind: ", "--unbind: ", "--reset-keys: "};
    return names[kind];
}

bool showExplanation(const Text& key)
{
    const MapItem item = mapItemFromText(fromUTF8(key));
    if (isKey(item))
        return show(toUTF8(MappingManager::globalMappingManager().explainKey(item.mappedKeyCode())));
    complain("--explain-key: " + quoted(key) + " is no key");
    return false;
}

} // namespace

bool readKeyChange(const Text& value, KeyChange::Kind kind, KeyOptions& options)
{
    const unsigned equals = value.find('=');
    if (equals == Text::npos || equals + 1 == value.length())
        return false;
    options.changes.push_back({kind, value.substr(0, equals), value.substr(equals + 1)});
    return true;
}

bool applyKeyOptions(const KeyOptions& options)
{
    if (!options.standAlone())
        return true;
    const Commands commands;
    for (const KeyChange& change : options.changes)
        if (const Text reason = commands.change(change); !reason.empty())
        {
            complain(Text(nameOf(change.kind)) + reason);
            return false;
        }
    return (!options.list || show(listText(commands))) && (options.explain.empty() || showExplanation(options.explain));
}
