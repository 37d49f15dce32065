#include "misc/commands/KeyMap.h"

#include "libmw/Text.h"
#include "misc/commands/CommandMap.h"
#include "misc/commands/KeyCode.h"
#include "misc/diagnostics/QaSplat.h"

#include <tuple>

namespace
{

constexpr ResId noDescription = ResId(12102);

auto find(const std::vector<MapItem>& items, int keycode) noexcept
{
    return std::ranges::find(items, keycode, &MapItem::mappedKeyCode);
}

// The order of keys that the user has added. Codes of gestures are those of slots, which the next start may give
// differently.
bool comesBefore(const MapItem& a, const MapItem& b) noexcept
{
    const auto rank = [](const MapItem& item)
    {
        const ComplexKeyboardEvent event = item.usingCke() ? item.cke() : ComplexKeyboardEvent();
        return std::tuple(item.usingCke(), item.usingCke() ? 0 : item.mappedKeyCode(), event.heldKey, event.secondKey,
                          event.press);
    };
    return rank(a) < rank(b);
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
    if (!item.valid() || item.lacksSlot())
        return true;
    if (lookup(item.mappedKeyCode()) != nullptr)
        return false;
    items_.push_back(item);
    return true;
}

bool KeyMap::insertMapItem(const MapItem& item)
{
    const std::size_t before = items_.size();
    if (!addMapItem(item))
        return false;
    if (items_.size() != before)
        placeLast();
    return true;
}

// Moves the last item to the place of a user's key; a default key is one of those that are there again.
void KeyMap::placeLast() noexcept
{
    const auto last = items_.end() - 1;
    const auto taken = std::ranges::find(takenDefaults_, last->mappedKeyCode(), &TakenDefault::keycode);
    if (taken == takenDefaults_.end())
    {
        const auto firstAdded = items_.begin() + static_cast<std::ptrdiff_t>(numDefaults());
        const auto isBehind = [&](const MapItem& other) { return comesBefore(*last, other); };
        std::rotate(std::find_if(firstAdded, last, isBehind), last, items_.end());
        return;
    }
    const auto numTakenBefore = taken - takenDefaults_.begin();
    std::rotate(items_.begin() + static_cast<std::ptrdiff_t>(taken->place) - numTakenBefore, last, items_.end());
    takenDefaults_.erase(taken);
    ++numDefaults_;
}

bool KeyMap::removeMapItem(int keycode)
{
    const auto found = find(items_, keycode);
    if (found == items_.end() || found->readOnly())
        return false;
    auto place = static_cast<std::size_t>(found - items_.begin());
    if (place < numDefaults())
    {
        auto next = takenDefaults_.begin();
        for (; next != takenDefaults_.end() && next->place <= place; ++next)
            ++place;
        takenDefaults_.insert(next, {*found, place});
        --numDefaults_;
    }
    items_.erase(found);
    return true;
}

bool KeyMap::isDefaultKey(int keycode) const noexcept
{
    const auto found = find(items_, keycode);
    return static_cast<std::size_t>(found - items_.begin()) < numDefaults() ||
           std::ranges::find(takenDefaults_, keycode, &TakenDefault::keycode) != takenDefaults_.end();
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
