#include "misc/commands/KeyMap.h"

#include "libmw/Text.h"
#include "misc/commands/CommandMap.h"
#include "misc/commands/KeyCode.h"
#include "misc/diagnostics/QaSplat.h"

#include <algorithm>

namespace
{

constexpr ResId noDescription = ResId(12102);

auto find(const std::vector<MapItem>& items, int keycode) noexcept
{
    return std::ranges::find(items, keycode, &MapItem::mappedKeyCode);
}

bool holds(const std::vector<MapItem>& items, int keycode) noexcept
{
    return find(items, keycode) != items.end();
}

} // namespace

KeyMap::KeyMap(Output output, const UIString& displayName, const UIString& displayDescription, KeyMapScope scope)
    : output_(std::move(output)), displayName_(displayName.text()), displayDescription_(displayDescription.text()),
      scope_(scope), valid_(true)
{
    if (!verifyOutputString())
        qa_splat("Attempted to construct a KeyMap with an illegal outputString!", 8);
}

KeyMap::KeyMap(Output output, const MapItem& key, const UIString& displayName, const UIString& displayDescription,
               KeyMapScope scope)
    : KeyMap(std::move(output), displayName, displayDescription, scope)
{
    addDefault(key);
}

KeyMap::KeyMap(Output output, const MapItem& key, const MapItem& otherKey, const UIString& displayName,
               const UIString& displayDescription, KeyMapScope scope)
    : KeyMap(std::move(output), displayName, displayDescription, scope)
{
    addDefault(key);
    addDefault(otherKey);
}

KeyMap::KeyMap(Output output, MapItem const* keys, const UIString& displayName, const UIString& displayDescription,
               KeyMapScope scope)
    : KeyMap(std::move(output), displayName, displayDescription, scope)
{
    for (; keys != nullptr && keys->valid(); ++keys)
        addDefault(*keys);
}

void KeyMap::addDefault(const MapItem& item)
{
    if (!addMapItem(item))
        qa_splat("Attempted to add a duplicate MapItem to a KeyMap during construction!", 8);
    makeKeysDefault();
}

const KeyMap::Text& KeyMap::displayName() const
{
    if (displayName_.empty())
        displayName_ =
            output_.mode == byString ? Mw::WStringFromAscii(output_.string.c_str()) : keycodeToString(output_.value);
    return displayName_;
}

const KeyMap::Text& KeyMap::displayDescription() const
{
    if (displayDescription_.empty())
        displayDescription_ = resourceStrW(noDescription);
    return displayDescription_;
}

MapItem const* KeyMap::lookup(int keycode) const noexcept
{
    const auto found = find(items_, keycode);
    return found != items_.end() ? &*found : nullptr;
}

bool KeyMap::addMapItem(const MapItem& item)
{
    if (!item.valid())
        return true;
    if (holds(items_, item.mappedKeyCode()))
        return false;
    items_.push_back(item);
    return true;
}

bool KeyMap::removeMapItem(int keycode)
{
    const auto found = find(items_, keycode);
    if (found == items_.end() || found->readOnly())
        return false;
    if (static_cast<std::size_t>(found - items_.begin()) < numDefaults_)
    {
        takenDefaults_.push_back(*found);
        --numDefaults_;
    }
    items_.erase(found);
    return true;
}

bool KeyMap::isDefaultKey(int keycode) const noexcept
{
    const auto found = find(items_, keycode);
    return static_cast<std::size_t>(found - items_.begin()) < numDefaults_ || holds(takenDefaults_, keycode);
}

void KeyMap::makeKeysDefault() noexcept
{
    numDefaults_ = items_.size();
    takenDefaults_.clear();
}

bool KeyMap::executeCommand() const
{
    const CommandMap& commands = *CommandMap::theCommandMap();
    const unsigned index = commands.findCommand(output_.string.c_str());
    commands.callCommand(index, Cmd::Context());
    return index != CommandMap::invalidIndex;
}

bool KeyMap::verifyOutputString() const noexcept
{
    const auto isStorable = [](char c) { return static_cast<unsigned char>(c) > 31 && c != ':'; };
    return !output_.string.startsWith("0x", false) && std::ranges::all_of(output_.string, isStorable);
}

LightweightString<wchar_t> defaultableResourceStr(ResId id, const LightweightString<char>& defaultText)
{
    const LightweightString<wchar_t> text = resourceStrW(id);
    return text.empty() ? fromUTF8(defaultText) : text;
}

LightweightString<wchar_t> defaultableResourceStr(ResId id, ResId defaultId)
{
    const LightweightString<wchar_t> text = resourceStrW(id);
    return text.empty() ? resourceStrW(defaultId) : text;
}
