#include "misc/commands/CommandMapMMC.h"

#include "libmw/Text.h"
#include "misc/commands/BuiltInMappers.h"
#include "misc/commands/CommandMacroManager.h"
#include "misc/commands/CommandMap.h"
#include "misc/commands/KeyCode.h"
#include "misc/commands/MappingManager.h"

#include <cstdint>

namespace
{

constexpr ResId nameId{11960};
constexpr ResId descriptionId{11958};

// The key map's tag is the command's index, so that a key press needs no search by name.
void* tagOf(unsigned index)
{
    return reinterpret_cast<void*>(std::uintptr_t(index));
}

void addKeyMap(std::vector<KeyMap>& maps, CommandMapRec const& command, unsigned index)
{
    const auto scope = KeyMap::KeyMapScope((command.attribs() >> 1) & 1);
    maps.emplace_back(command.commandName(), command.defaultMapItem(), command.displayName(),
                      command.displayDescription(), scope);
    maps.back().tag(tagOf(index));
}

bool isSameText(LightweightString<char> const& a, LightweightString<char> const& b)
{
    return a.data() == b.data() || a == b;
}

// The index that `CommandMap::findCommand` gives for the map's output. A name is that of one live command, so the
// record in the map's tag is the one if it still has the name; it has lost it if it was deregistered.
unsigned commandOf(KeyMap const& map, CommandMap const& commands)
{
    const auto index = static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(map.tag()));
    CommandMapRec const* const command = commands.getCommand(index);
    if (command != nullptr && isSameText(command->commandName(), map.outputString())) [[likely]]
        return index;
    return commands.findCommand(map.outputString().c_str());
}

// Which key maps are those of a command.
class KeyMapFilter
{
public:
    KeyMapFilter(char const* name, LightweightString<wchar_t> const& displayName)
        : name_(name), displayName_(displayName)
    {
    }

    bool takes(MappingManagerClientBase const& client, KeyMap const& map) const
    {
        if (name_ == nullptr)
            return map.displayName() == displayName_;
        if (&client != &ConsoleMapper())
            return map.outputString() == name_;
        // Keys of the console are commands by their display names.
        CommandMap const& commands = *CommandMap::theCommandMap();
        CommandMapRec const* const command =
            commands.getCommand(commands.findCommandByDisplayName(L"Console:" + map.displayName()));
        return command != nullptr && command->commandName() == name_;
    }

private:
    char const* const name_;
    LightweightString<wchar_t> const& displayName_;
};

bool isReported(MapItem const& item)
{
    return !item.readOnly() || (item.mappedKeyCode() & KeyCode::console) == 0;
}

} // namespace

CommandMapMMC& CommandMapMMC::GlobalCommands()
{
    static CommandMapMMC* const commands = new CommandMapMMC;
    return *commands;
}

CommandMapMMC::CommandMapMMC()
{
    init();
    CommandMacroManager::instance();
}

void CommandMapMMC::init()
{
    // The name must be free before the new mapper takes it.
    mapper_.reset();
    CommandMap const& commands = *CommandMap::theCommandMap();
    std::vector<KeyMap> maps;
    maps.reserve(commands.names().size());
    for (auto const& [name, index] : commands.names())
        addKeyMap(maps, *commands.getCommand(index), index);
    mapper_ = Mw::Ptr<SimpleKeyMapper>(new SimpleKeyMapper("GlobalCommands", nameId, descriptionId, std::move(maps),
                                                           true, MappingManagerClientBase::clientScope));
}

KeyMap const* CommandMapMMC::keyMapOf(int keycode) const
{
    return mapper_ ? mapper_->lookup(keycode) : nullptr;
}

LightweightString<char> CommandMapMMC::findCommandBoundToKey(int keycode) const
{
    KeyMap const* const map = keyMapOf(keycode);
    return map != nullptr ? map->outputString() : LightweightString<char>();
}

unsigned CommandMapMMC::tryKey(int keycode, KeyEvent::eType type) const
{
    KeyMap const* const map = keyMapOf(keycode);
    if (map == nullptr || map->outputString().empty())
        return 0;
    CommandMap const& commands = *CommandMap::theCommandMap();
    const unsigned index = commandOf(*map, commands);
    CommandMapRec const* const command = commands.getCommand(index);
    if (command == nullptr)
        return 0;
    if ((command->attribs() & CommandMapRec::eWantsBothEvents) != 0)
        command->call({type == KeyEvent::ePressed ? Cmd::eKeyPressed : Cmd::eKeyReleased, nullptr, nullptr});
    else if (type == KeyEvent::ePressed)
        command->call({Cmd::eFired, nullptr, nullptr});
    return index;
}

std::vector<int> CommandMapMMC::getKeysAssignedToCommand(char const* name,
                                                         LightweightString<wchar_t> const& displayName) const
{
    const KeyMapFilter filter(name, displayName);
    MappingManager const& manager = MappingManager::globalMappingManager();
    std::vector<int> codes;
    for (unsigned i = 0; i < manager.numClients(); ++i)
    {
        MappingManagerClientBase const& client = *manager.client(i);
        for (unsigned k = 0; k < client.numKeyMaps(); ++k)
        {
            KeyMap const& map = *client.keyMap(k);
            if (map.scope() != KeyMap::inReports || !filter.takes(client, map))
                continue;
            for (MapItem const& item : map.mapItems())
                if (isReported(item))
                    codes.push_back(item.mappedKeyCode());
        }
    }
    return codes;
}
