#include "OS/Export.h"
#include "libmw/Text.h"
#include "misc/commands/CommandMap.h"
#include "misc/commands/KeyCode.h"
#include "misc/commands/KeyMap.h"
#include "misc/commands/MappingManager.h"
#include "misc/commands/MappingManagerClientBase.h"
#include "misc/diagnostics/Console.h"

#include <cwchar>
#include <map>

// What the mapping manager tells people.

namespace
{

using Text = LightweightString<wchar_t>;

Text hexText(int value)
{
    wchar_t text[16];
    std::swprintf(text, 16, L"0x%04X", static_cast<unsigned>(value));
    return text;
}

// The output's own name, and the one for people if it has another.
Text actionText(const KeyMap& map)
{
    const Text own = map.outputMode() == KeyMap::byString ? Mw::WStringFromAscii(map.outputString().c_str())
                                                          : hexText(map.outputValue());
    const Text& shown = map.displayName();
    return shown == own ? own : own + L" (" + shown + L")";
}

void appendUses(Text& text, const MappingManagerClientBase& client, int keycode)
{
    for (unsigned index = 0; index < client.numKeyMaps(); ++index)
    {
        const KeyMap& map = *client.keyMap(index);
        const bool isBound = map.lookup(keycode) != nullptr;
        const bool isDefault = map.isDefaultKey(keycode);
        if (!isBound && !isDefault)
            continue;
        text += L"  " + Mw::WStringFromAscii(client.internalName().c_str()) + L": " + actionText(map);
        text += !isBound    ? L", taken away by a stored difference\n"
                : isDefault ? L", by default\n"
                            : L", by a stored difference\n";
    }
}

// The first action that is a command, and is there. The client of all commands is asked before others, as a key press
// asks it.
Text commandText(const MappingManager& manager, int keycode)
{
    for (const bool isOfAllCommands : {true, false})
        for (unsigned index = 0; index < manager.numClients(); ++index)
        {
            const MappingManagerClientBase& client = *manager.client(index);
            const KeyMap* const map = client.handlerOf(keycode);
            if (map == nullptr || map->outputMode() != KeyMap::byString ||
                (client.internalName() == "GlobalCommands") != isOfAllCommands)
                continue;
            if (CommandMap::theCommandMap()->findCommand(map->outputString().c_str()) != CommandMap::invalidIndex)
                return Mw::WStringFromAscii(map->outputString().c_str());
        }
    return L"none";
}

} // namespace

std::vector<MappingManager::Conflict> MappingManager::conflicts() const
{
    std::map<int, std::vector<Use>> uses;
    for (unsigned index = 0; index < numClients(); ++index)
        for (unsigned keyMap = 0; keyMap < clients_[index]->numKeyMaps(); ++keyMap)
        {
            const KeyMap& map = *clients_[index]->keyMap(keyMap);
            for (const MapItem& item : map.mapItems())
                uses[item.mappedKeyCode()].push_back({index, keyMap, clients_[index]->displayName(), map.displayName(),
                                                      clients_[index]->internalName()});
        }
    std::vector<Conflict> conflicts;
    for (auto& [keycode, ofKey] : uses)
        if (ofKey.size() > 1)
            conflicts.push_back({keycode, std::move(ofKey)});
    return conflicts;
}

LightweightString<wchar_t> MappingManager::explainKey(int keycode) const
{
    Text text = L"Key " + hexText(keycode) + L", " + keycodeToString(keycode) + L"\n";
    for (const Client* const client : clients_)
        appendUses(text, *client, keycode);
    return text + L"Command: " + commandText(*this, keycode) + L"\n";
}

void MappingManager::debugDumpInfo() const
{
    const LightweightString<char> dashes(79, '-');
    herc_printf("%s\nMappingManager::debugDumpInfo()\n%s\n", dashes.c_str(), dashes.c_str());
    for (unsigned index = 0; index < numClients(); ++index)
    {
        const Client& client = *clients_[index];
        herc_printf("Client %3u [%s]\n\n", index, client.internalName().c_str());
        herc_printf("   Name [%s]\n   Desc [%s]\n\n", toUTF8(client.displayName()).c_str(),
                    toUTF8(client.displayDescription()).c_str());
        for (unsigned keyMap = 0; keyMap < client.numKeyMaps(); ++keyMap)
        {
            const KeyMap& map = *client.keyMap(keyMap);
            herc_printf("   KeyMap %2u of %2u\n\n      Name [%s]\n      Desc [%s]\n      Code 0x%04x  %s\n"
                        "      String [%s]\n\n",
                        keyMap, client.numKeyMaps(), toUTF8(map.displayName()).c_str(),
                        toUTF8(map.displayDescription()).c_str(), static_cast<unsigned>(map.outputValue()),
                        toUTF8(keycodeToString(map.outputValue())).c_str(), map.outputString().c_str());
            for (const MapItem& item : map.mapItems())
                herc_printf("         -> %04x %s %s\n", static_cast<unsigned>(item.mappedKeyCode()),
                            toUTF8(keycodeToString(item.mappedKeyCode())).c_str(),
                            item.readOnly() ? "(READ ONLY)" : "");
        }
    }
    herc_printf("(end of dump)\n");
}

void DebugDumpMappings()
{
    MappingManager::globalMappingManager().debugDumpInfo();
}
