#include "misc/commands/MappingManager.h"

#include "Mw/CText.h"
#include "OS/Immortal.h"
#include "libmw/Text.h"
#include "misc/commands/KeyCode.h"
#include "misc/commands/KeyMap.h"
#include "misc/commands/MappingManagerClientBase.h"
#include "misc/commands/MappingManagerRegistryString.h"
#include "misc/diagnostics/Console.h"
#include "misc/diagnostics/Log.h"
#include "misc/diagnostics/QaSplat.h"
#include "misc/settings/RegistryConfig.h"

#include <algorithm>
#include <cstdint>
#include <deque>
#include <optional>
#include <set>
#include <string>
#include <string_view>

namespace
{

using Name = LightweightString<char>;
using RegistryString = MappingManagerRegistryString;

constexpr const char* section = "Configuration\\MappingManager2";
constexpr const char* oldSection = "MappingManager";

// Says that the old section was brought over, since the user may reset all that came from it.
constexpr const char* migratedKey = "Old Key Mappings Migrated";
constexpr const char* migratedSection = "Configuration";

constexpr const char* added = "true";
constexpr const char* takenAway = "false";

iSettings::Change storing(const Name& name, const char* value)
{
    return {name, section, Name(value)};
}

iSettings::Change removing(const Name& name)
{
    return {name, section, std::nullopt};
}

std::vector<iSettings::NameValuePair> storedValues(const char* from)
{
    std::vector<iSettings::NameValuePair> values;
    UserConfig().getMultipleValues(values, from);
    return values;
}

bool commit(const std::vector<iSettings::Change>& changes)
{
    if (changes.empty())
        return true;
    const int result = UserConfig().apply(changes);
    const bool good = result == iSettings::eStored || result == iSettings::eKeptInMemory;
    if (!good)
        LogString("The settings store refused a change of the key mappings\n");
    return good;
}

bool isDebugging()
{
    return GlobalConfig().getValue("Show MapMgr Debug", false, "");
}

// An output as it is stored: the name of a command, or a number.
struct OutputKey
{
    explicit OutputKey(const KeyMap& map) : OutputKey(map.outputValue(), map.outputString()) {}
    explicit OutputKey(const RegistryString& key) : OutputKey(key.outputValue(), key.outputString()) {}
    OutputKey(int value, const Name& name)
        : string(isEssentiallyEmpty(name) ? std::string_view() : std::string_view(name)), value(value)
    {
    }

    bool operator==(const OutputKey&) const = default;

    // Whether they are equal when the case of letters doesn't count.
    bool isLike(const OutputKey& other) const noexcept
    {
        const auto equal = [](char a, char b) { return Mw::CText::toLower(a) == Mw::CText::toLower(b); };
        return value == other.value && std::ranges::equal(string, other.string, equal);
    }

    std::uint32_t hash() const noexcept
    {
        std::uint32_t hash = 2166136261u ^ static_cast<std::uint32_t>(value);
        for (const char c : string)
            hash = (hash ^ static_cast<unsigned char>(Mw::CText::toLower(c))) * 16777619u;
        return hash ^ (hash >> 15);
    }

    std::string_view string;
    int value;
};

bool isSameKey(const MapItem& a, const MapItem& b) noexcept
{
    return a.usingCke() == b.usingCke() && a.lacksSlot() == b.lacksSlot() && a.mappedKeyCode() == b.mappedKeyCode();
}

void trace(const Name& storedName, const RegistryString& key)
{
    herc_printf("%s i[%s] v[0x%x] s[%s] m[0x%x]\n%s\n", storedName.c_str(), key.internalName().c_str(),
                static_cast<unsigned>(key.outputValue()), key.outputString().c_str(),
                static_cast<unsigned>(key.mapItem().mappedKeyCode()), key.registryString().c_str());
}

// Whether a name made of them can be read again.
bool isStorable(const MappingManagerClientBase& client, const KeyMap& map)
{
    return map.verifyOutputString() && std::string_view(client.internalName()).find(':') == std::string_view::npos;
}

} // namespace

// The actions of a client by their outputs.
class MappingManager::Outputs
{
public:
    explicit Outputs(const Client& client) : client_(client), next_(client.numKeyMaps(), none)
    {
        std::size_t numChains = 1;
        while (numChains < next_.size())
            numChains *= 2;
        first_.assign(numChains, none);
        for (unsigned index = client.numKeyMaps(); index-- > 0;)
        {
            unsigned& first = chainOf(OutputKey(*client.keyMap(index)));
            next_[index] = std::exchange(first, index);
        }
    }

    // The actions that a stored output means, in their order: those of exactly this name, or else those of a name
    // that differs in case. They stay valid until the next call.
    const std::vector<unsigned>& of(const RegistryString& stored) const
    {
        const OutputKey wanted(stored);
        found_.clear();
        bool isExact = false;
        for (unsigned index = chainOf(wanted); index != none; index = next_[index])
        {
            const OutputKey key(*client_.keyMap(index));
            if (!key.isLike(wanted))
                continue;
            if (key == wanted && !std::exchange(isExact, true))
                found_.clear();
            if (key == wanted || !isExact)
                found_.push_back(index);
        }
        // Two names that differ from the stored one and from each other: the first is meant.
        std::erase_if(found_, [&](unsigned index)
                      { return OutputKey(*client_.keyMap(index)) != OutputKey(*client_.keyMap(found_.front())); });
        return found_;
    }

    // The one of them that a difference is about: what holds the key, or did by default, else the first.
    std::optional<unsigned> meant(const RegistryString& stored) const
    {
        const std::vector<unsigned>& candidates = of(stored);
        if (candidates.empty())
            return std::nullopt;
        const int keycode = stored.mapItem().mappedKeyCode();
        for (const unsigned index : candidates)
            if (client_.keyMap(index)->lookup(keycode) != nullptr)
                return index;
        for (const unsigned index : candidates)
            if (client_.keyMap(index)->isDefaultKey(keycode))
                return index;
        return candidates.front();
    }

private:
    static constexpr unsigned none = ~0u;

    unsigned& chainOf(const OutputKey& key) { return first_[key.hash() & (first_.size() - 1)]; }
    unsigned chainOf(const OutputKey& key) const { return first_[key.hash() & (first_.size() - 1)]; }

    const Client& client_;
    std::vector<unsigned> next_; // of each action, in the chain of its hash
    std::vector<unsigned> first_;
    mutable std::vector<unsigned> found_;
};

// A stored value that is about a present action.
struct MappingManager::Difference
{
    Name storedName;
    bool isAdded;
    RegistryString key; // with the output's name as the action has it
    unsigned keyMap;
    Name name; // in the present form

    bool isApplicable() const noexcept { return !key.mapItem().lacksSlot(); }
    int keycode() const noexcept { return key.mapItem().mappedKeyCode(); }
};

MappingManager& MappingManager::globalMappingManager()
{
    return immortal<MappingManager>();
}

MappingManager::MappingManager()
{
    migrate();
}

void MappingManager::migrate()
{
    if (!storedValues(section).empty() || UserConfig().getValue(migratedKey, false, migratedSection))
        return;
    Changes changes;
    for (const auto& [name, value] : storedValues(oldSection))
        if (const Name converted = convertLegacyKeycodeString(name); !converted.empty())
            changes.push_back(storing(converted, value.c_str()));
    if (changes.empty())
        return;
    changes.push_back({migratedKey, migratedSection, Name("true")});
    commit(changes);
}

bool MappingManager::registerMapper(MappingManagerClientBase* client)
{
    if (client == nullptr)
        return false;
    const Name& name = client->internalName();
    if (!std::ranges::all_of(name, [](char c) { return static_cast<unsigned char>(c) > 31 && c != ':'; }))
        qa_splat("An attempt was made to register a MappingManagerClient with an illegal internalName!", 8);
    if (std::ranges::any_of(clients_, [&](const Client* other) { return other->internalName() == name; }))
    {
        qa_splat("An attempt was made to register a MappingManagerClient with a non-unique internal name!", 8);
        return false;
    }
    applyMappingsFromRegistry(*client);
    clients_.push_back(client);
    if (isDebugging())
        herc_printf("MappingManager::registerMapper '%s'\n", name.c_str());
    return true;
}

bool MappingManager::unregisterMapper(MappingManagerClientBase* client)
{
    if (client == nullptr)
        return false;
    const auto found = std::ranges::find_if(clients_, [client](const Client* other)
                                            { return other->internalName() == client->internalName(); });
    if (found == clients_.end())
        return false;
    clients_.erase(found);
    return true;
}

void MappingManager::forget(Client* client)
{
    std::erase(clients_, client);
}

MappingManagerClientBase* MappingManager::client(unsigned index) const
{
    if (index < clients_.size())
        return clients_[index];
    qa_splat("MappingManager::client() Index out of range!", 8);
    return nullptr;
}

MappingManager::Differences MappingManager::differencesOf(const Client& client, const Outputs& outputs, bool isTraced)
{
    const Name prefix = RegistryString(client.internalName()).registryString(RegistryString::upToClient);
    const bool areCommentsWanted = RegistryString::areCommentsWanted();
    const std::vector<iSettings::NameValuePair> values = storedValues(section);
    Differences differences;
    differences.reserve(values.size());
    std::string present;
    for (const auto& [name, value] : values)
    {
        Difference difference{name, value == added, {}, 0, {}};
        if (!std::string_view(name).starts_with(prefix) || !difference.key.registryString(name))
            continue;
        if (isTraced)
            trace(name, difference.key);
        const std::optional<unsigned> keyMap = outputs.meant(difference.key);
        if (!keyMap)
            continue;
        difference.keyMap = *keyMap;
        difference.key.outputString(client.keyMap(*keyMap)->outputString());
        present.clear();
        difference.key.appendTo(present, areCommentsWanted);
        difference.name = present == std::string_view(name) ? name : Name(std::string_view(present));
        differences.push_back(std::move(difference));
    }
    // As they would come from a store that has them in the present form.
    if (!std::ranges::is_sorted(differences, {}, &Difference::name))
        std::ranges::stable_sort(differences, {}, &Difference::name);
    return differences;
}

void MappingManager::applyMappingsFromRegistry(Client& client)
{
    const Outputs outputs(client);
    const Differences differences = differencesOf(client, outputs, isDebugging());
    apply(client, differences);
    renew(client, differences);
}

// Stores anew what has a name in another form than the present one. Where several come to one name, they may say
// different things: what has come into effect is kept.
void MappingManager::renew(const Client& client, const Differences& differences)
{
    Changes changes;
    for (auto first = differences.begin(); first != differences.end();)
    {
        const auto isOther = [&](const Difference& difference) { return difference.name != first->name; };
        const auto end = std::find_if(first, differences.end(), isOther);
        const auto isOld = [](const Difference& difference) { return difference.storedName != difference.name; };
        if (first->isApplicable() && std::any_of(first, end, isOld))
        {
            const auto numAdded = std::count_if(first, end, [](const Difference& each) { return each.isAdded; });
            const bool isMixed = numAdded != 0 && numAdded != end - first;
            const bool isHeld = client.keyMap(first->keyMap)->lookup(first->keycode()) != nullptr;
            for (auto each = first; each != end; ++each)
                changes.push_back(removing(each->storedName));
            changes.push_back(storing(first->name, (isMixed ? isHeld : first->isAdded) ? added : takenAway));
        }
        first = end;
    }
    commit(changes);
}

// Removals first, so that a key can go from one action to another whatever the order of their names. What is so
// already fails, and is left.
void MappingManager::apply(Client& client, const Differences& differences)
{
    for (const bool isAdding : {false, true})
        for (const Difference& difference : differences)
            if (difference.isAdded == isAdding && difference.isApplicable())
                isAdding ? client.addToKeyMap(difference.keyMap, difference.keycode())
                         : client.removeFromKeyMap(difference.keyMap, difference.keycode());
}

// Has the stored values forgotten that are about the same key in the client, and have no effect beside the user's
// latest change: those of the same action in whatever spelling, since a start may have failed to store the present
// one, and additions that another action stood in the way of. Gives whether the action's own was stored.
bool MappingManager::forgetSameKey(const Client& client, const RegistryString& key, Changes& changes)
{
    const Name prefix = key.registryString(RegistryString::upToClient);
    std::optional<Outputs> outputs;
    RegistryString stored;
    bool wasStored = false;
    for (const auto& [storedName, value] : storedValues(section))
    {
        if (!std::string_view(storedName).starts_with(prefix) || !stored.registryString(storedName) ||
            !isSameKey(stored.mapItem(), key.mapItem()))
            continue;
        if (!outputs)
            outputs.emplace(client);
        const std::optional<unsigned> index = outputs->meant(stored);
        if (!index)
            continue;
        const KeyMap& map = *client.keyMap(*index);
        const bool isSame = OutputKey(map) == OutputKey(key);
        const bool isWaiting = value == added && map.lookup(key.mapItem().mappedKeyCode()) == nullptr;
        wasStored |= isSame;
        if (isSame || isWaiting)
            changes.push_back(removing(storedName));
    }
    return wasStored;
}

bool MappingManager::addToKeyMap(unsigned clientIndex, unsigned keyMapIndex, int keycode)
{
    Client* const owner = client(clientIndex);
    const KeyMap* const map = owner != nullptr ? owner->keyMap(keyMapIndex) : nullptr;
    if (map == nullptr || !isStorable(*owner, *map) || owner->addToKeyMap(keyMapIndex, keycode) != 0)
        return false;
    const MapItem item(keycode, false);
    const RegistryString key(owner->internalName(), map->outputValue(), map->outputString(), item);
    Changes changes;
    forgetSameKey(*owner, key, changes);
    changes.push_back(storing(key.registryString(), added));
    if (commit(changes))
        return true;
    owner->removeFromKeyMap(keyMapIndex, item.mappedKeyCode());
    return false;
}

bool MappingManager::removeFromKeyMap(unsigned clientIndex, unsigned keyMapIndex, int keycode)
{
    Client* const owner = client(clientIndex);
    const KeyMap* const map = owner != nullptr ? owner->keyMap(keyMapIndex) : nullptr;
    if (map == nullptr || !isStorable(*owner, *map))
        return false;
    const MapItem item(keycode, false);
    const RegistryString key(owner->internalName(), map->outputValue(), map->outputString(), item);
    if (owner->removeFromKeyMap(keyMapIndex, item.mappedKeyCode()) != 0)
        return false;

    // Actions with the same output share the stored difference.
    bool isDefault = false;
    bool isBound = false;
    for (unsigned index = 0; index < owner->numKeyMaps(); ++index)
        if (const KeyMap& other = *owner->keyMap(index); OutputKey(other) == OutputKey(*map))
        {
            isDefault |= other.isDefaultKey(item.mappedKeyCode());
            isBound |= other.lookup(item.mappedKeyCode()) != nullptr;
        }
    Changes changes;
    const bool wasStored = forgetSameKey(*owner, key, changes);
    if (isBound && !isDefault)
        changes.push_back(storing(key.registryString(), added));
    else if (!isBound && (isDefault || !wasStored))
        changes.push_back(storing(key.registryString(), takenAway));
    if (commit(changes))
        return true;
    owner->addToKeyMap(keyMapIndex, item.mappedKeyCode());
    return false;
}

// Takes the differences of one client back, in memory, and knows those that could not be: another action has the
// default key.
class MappingManager::Undo
{
public:
    Undo(Client& client, const unsigned* keyMap) : client_(client), outputs_(client)
    {
        differences_ = differencesOf(client, outputs_);
        if (keyMap != nullptr)
            keepThoseOf(*keyMap);
    }

    void addRemovals(Changes& changes) const
    {
        for (const Difference& difference : differences_)
            if (std::ranges::find(stuck_, &difference) == stuck_.end())
                changes.push_back(removing(difference.storedName));
    }

    void undo()
    {
        for (const bool isRestoring : {false, true})
            for (const Difference& difference : differences_)
                if (difference.isApplicable())
                    for (const unsigned index : outputs_.of(difference.key))
                        isRestoring ? restore(difference, index) : remove(difference, index);
    }

    void redo() { apply(client_, differences_); }

private:
    // The differences of an action, and additions of its keys that wait behind them for another: they would come into
    // effect at the next start.
    void keepThoseOf(unsigned keyMap)
    {
        std::set<int> keycodes;
        for (const Difference& difference : differences_)
            if (difference.keyMap == keyMap && difference.isApplicable())
                keycodes.insert(difference.keycode());
        std::erase_if(differences_,
                      [&](const Difference& difference)
                      {
                          const KeyMap& map = *client_.keyMap(difference.keyMap);
                          const bool isWaiting = difference.isAdded && difference.isApplicable() &&
                                                 keycodes.contains(difference.keycode()) &&
                                                 map.lookup(difference.keycode()) == nullptr;
                          return difference.keyMap != keyMap && !isWaiting;
                      });
    }

    void remove(const Difference& difference, unsigned index)
    {
        const KeyMap& map = *client_.keyMap(index);
        if (!map.isDefaultKey(difference.keycode()) && map.lookup(difference.keycode()) != nullptr)
            client_.removeFromKeyMap(index, difference.keycode());
    }

    void restore(const Difference& difference, unsigned index)
    {
        const KeyMap& map = *client_.keyMap(index);
        if (map.isDefaultKey(difference.keycode()) && map.lookup(difference.keycode()) == nullptr &&
            client_.addToKeyMap(index, difference.keycode()) != 0)
            stuck_.push_back(&difference);
    }

    Client& client_;
    const Outputs outputs_;
    Differences differences_;
    std::vector<const Difference*> stuck_;
};

bool MappingManager::resetToDefault()
{
    return reset(0, numClients(), nullptr);
}

bool MappingManager::resetToDefault(unsigned clientIndex)
{
    return client(clientIndex) != nullptr && reset(clientIndex, clientIndex + 1, nullptr);
}

bool MappingManager::resetToDefault(unsigned clientIndex, unsigned keyMapIndex)
{
    return client(clientIndex) != nullptr && reset(clientIndex, clientIndex + 1, &keyMapIndex);
}

bool MappingManager::reset(unsigned firstClient, unsigned endClient, const unsigned* keyMap)
{
    std::deque<Undo> undos;
    Changes changes;
    for (unsigned index = firstClient; index < endClient; ++index)
    {
        Undo& undo = undos.emplace_back(*clients_[index], keyMap);
        undo.undo();
        undo.addRemovals(changes);
    }
    const bool good = commit(changes);
    if (!good)
        for (Undo& undo : undos)
            undo.redo();
    return good;
}

void MappingManager::exportMappings(Vector<Name>& lines) const
{
    for (const auto& [name, value] : storedValues(section))
        lines.push_back(value + ":" + name);
}

bool MappingManager::importMappings(const Vector<Name>& lines)
{
    return import(lines, [](const Name& name) { return name; });
}

bool MappingManager::importLegacyMappings(const Vector<Name>& lines)
{
    return import(lines, convertLegacyKeycodeString);
}

// The store first: it is the only step that can fail.
bool MappingManager::import(const Vector<Name>& lines, Name (*nameOf)(const Name&))
{
    std::deque<Undo> undos;
    Changes changes;
    for (Client* const client : clients_)
        undos.emplace_back(*client, nullptr).addRemovals(changes);
    for (const Name& line : lines)
        for (const char* const value : {added, takenAway})
            if (const Name start = Name(value) + ":"; line.startsWith(start.c_str(), false))
                if (const Name name = nameOf(line.substr(start.length())); !name.empty())
                    changes.push_back(storing(name, value));
    if (!commit(changes))
        return false;
    for (Undo& undo : undos)
        undo.undo();
    undos.clear();
    for (Client* const client : clients_)
        applyMappingsFromRegistry(*client);
    return true;
}

int MappingManager::convertLegacyKeycode(int old) noexcept
{
    return (old & 0xFF) | (old & 0x7F00) << 16;
}

LightweightString<char> MappingManager::convertLegacyKeycodeString(const Name& old)
{
    RegistryString key;
    if (!key.registryString(old))
        return {};
    key.outputValue(convertLegacyKeycode(key.outputValue()));
    const MapItem& item = key.mapItem();
    if (key.isGesture())
    {
        const ComplexKeyboardEvent& event = item.cke();
        key.mapItem(MapItem(ComplexKeyboardEvent{convertLegacyKeycode(event.heldKey),
                                                 convertLegacyKeycode(event.secondKey), event.press},
                            false));
    }
    else
    {
        const int keycode = convertLegacyKeycode(item.mappedKeyCode());
        if ((keycode & KeyCode::complexEvent) != 0)
            return {};
        key.mapItem(MapItem(keycode, false));
    }
    return key.registryString();
}
