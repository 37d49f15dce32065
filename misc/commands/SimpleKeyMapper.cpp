#include "misc/commands/SimpleKeyMapper.h"

#include "misc/diagnostics/Console.h"
#include "misc/diagnostics/QaSplat.h"
#include "misc/settings/RegistryConfig.h"

#include <algorithm>

namespace
{

std::vector<KeyMap> mapsOf(KeyMap const* table)
{
    KeyMap const* end = table;
    while (end != nullptr && end->valid())
        ++end;
    return std::vector<KeyMap>(table, end);
}

} // namespace

SimpleKeyMapper::SimpleKeyMapper(const Name& internalName, ResId displayName, ResId displayDescription,
                                 KeyMap const* maps, bool isHighPerformance, ScopeENUM scope)
    : SimpleKeyMapper(internalName, displayName, displayDescription, mapsOf(maps), isHighPerformance, scope)
{
}

SimpleKeyMapper::SimpleKeyMapper(const Name& internalName, ResId displayName, ResId displayDescription,
                                 std::vector<KeyMap> maps, bool isHighPerformance, ScopeENUM scope)
    : MappingManagerClientBase(displayName, displayDescription), internalName_(internalName),
      displayNameId_(displayName), displayDescriptionId_(displayDescription), scope_(scope),
      isHighPerformance_(isHighPerformance), maps_(std::move(maps))
{
    build();
    registerWithManager();
}

SimpleKeyMapper::~SimpleKeyMapper()
{
    unregisterWithManager();
}

void SimpleKeyMapper::build()
{
    const bool isDebugging = GlobalConfig().getValue("Show MapMgr Debug", false, "");
    if (isDebugging)
        herc_printf("SimpleKeyMapper::SimpleKeyMapper '%s'\n", internalName_.c_str());
    std::size_t numCodes = 0;
    if (isHighPerformance_)
        index_.reserve(maps_.size());
    for (KeyMap& map : maps_)
    {
        map.makeKeysDefault();
        numCodes += map.mapItems().size();
        for (const MapItem& item : map.mapItems())
            if (isHighPerformance_ && !index_.insert(item.mappedKeyCode(), &map))
            {
                sharedCodes_.push_back(item.mappedKeyCode());
                qa_splat("Duplicate mappedKeyCode encountered!", 8);
            }
    }
    if (isDebugging)
        herc_printf("   Added %d mappings (%d mapped codes)\n", static_cast<int>(maps_.size()),
                    static_cast<int>(numCodes));
}

KeyMap* SimpleKeyMapper::keyMap(unsigned index) const
{
    return index < maps_.size() ? &maps_[index] : nullptr;
}

int SimpleKeyMapper::findIndex(KeyMap const* map) const
{
    for (std::size_t index = 0; index < maps_.size(); ++index)
        if (&maps_[index] == map)
            return static_cast<int>(index);
    return -1;
}

// A default of two maps comes back to either.
bool SimpleKeyMapper::mayStandIn(const KeyMap& map, int keycode) const
{
    const KeyMap* const holder = index_.find(keycode);
    return holder == nullptr || (holder != &map && map.isDefaultKey(keycode) && holder->isDefaultKey(keycode));
}

int SimpleKeyMapper::addToKeyMap(unsigned keyMapIndex, int keycode)
{
    KeyMap* const map = keyMap(keyMapIndex);
    const MapItem item(keycode, false);
    const int code = item.mappedKeyCode();
    if (map == nullptr || item.lacksSlot() || (isHighPerformance_ && !mayStandIn(*map, code)) ||
        !map->insertMapItem(item))
        return 1;
    if (isHighPerformance_ && !index_.insert(code, map))
        indexAnew(code);
    return 0;
}

int SimpleKeyMapper::removeFromKeyMap(unsigned keyMapIndex, int keycode)
{
    KeyMap* const map = keyMap(keyMapIndex);
    if (map == nullptr || !map->removeMapItem(keycode))
        return 1;
    if (!isHighPerformance_)
        return 0;
    index_.erase(keycode);
    if (std::ranges::find(sharedCodes_, keycode) != sharedCodes_.end())
        indexAnew(keycode);
    return 0;
}

// Of a code that stands, or stood, in two maps: the first that holds it.
void SimpleKeyMapper::indexAnew(int keycode)
{
    index_.erase(keycode);
    KeyMap* const holder = walkTo(keycode);
    if (holder != nullptr)
        index_.insert(keycode, holder);
}

KeyMap* SimpleKeyMapper::walkTo(int keycode) const
{
    const auto found = std::ranges::find_if(maps_, [=](const KeyMap& map) { return map.lookup(keycode) != nullptr; });
    return found != maps_.end() ? &*found : nullptr;
}

int SimpleKeyMapper::lookup(int keycode, int defaultValue) const
{
    const KeyMap* const map = lookup(keycode);
    return map != nullptr ? map->outputValue() : defaultValue;
}

SimpleKeyMapper::Name SimpleKeyMapper::lookup(int keycode, const Name& defaultText) const
{
    const KeyMap* const map = lookup(keycode);
    return map != nullptr ? map->outputString() : defaultText;
}
