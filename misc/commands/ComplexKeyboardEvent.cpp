#include "misc/commands/ComplexKeyboardEvent.h"

#include "OS/Immortal.h"
#include "libmw/Text.h"
#include "misc/base/ResId.h"
#include "misc/commands/KeyCode.h"
#include "misc/commands/KeyNames.h"
#include "misc/commands/KeyReader.h"
#include "misc/commands/MapItem.h"

#include <atomic>
#include <mutex>
#include <shared_mutex>
#include <string_view>

namespace
{

using Text = LightweightString<wchar_t>;

struct Words
{
    Text hold = resourceStrW(ResId(10508)) + L" ";
    Text press = L" " + resourceStrW(ResId(10509)) + L" ";
    Text tap = L" " + resourceStrW(ResId(10510)) + L" ";
};

const Words& words()
{
    return immortal<Words>();
}

// The keys of a gesture are no gestures: a stored one could name its own slot.
Text keyText(int keycode)
{
    return (keycode & KeyCode::complexEvent) != 0 ? KeyNames::text(KeyNames::unknownId) : keycodeToString(keycode);
}

// Both keys of a text around `word`, wherever it splits the text into two keys.
bool readKeys(std::wstring_view text, std::wstring_view word, ComplexKeyboardEvent& event)
{
    for (std::size_t at = 1; at + word.size() < text.size(); ++at)
        if (KeyNames::beginsWith(text.substr(at), word))
        {
            const int held = readKey(text.substr(0, at));
            const int second = held != 0 ? readKey(text.substr(at + word.size())) : 0;
            if (second != 0)
            {
                event.heldKey = held;
                event.secondKey = second;
                return true;
            }
        }
    return false;
}

} // namespace

LightweightString<wchar_t> complexKeyboardEventToString(const ComplexKeyboardEvent& event)
{
    const Text& word = event.press != 0 ? words().press : words().tap;
    return words().hold + keyText(event.heldKey) + word + keyText(event.secondKey);
}

bool complexKeyboardEventFromDisplayText(const LightweightString<wchar_t>& text, ComplexKeyboardEvent& event)
{
    std::wstring_view rest = text;
    if (!KeyNames::beginsWith(rest, words().hold))
        return false;
    rest.remove_prefix(words().hold.length());
    ComplexKeyboardEvent read;
    read.press = 1;
    if (!readKeys(rest, words().press, read))
    {
        read.press = 0;
        if (!readKeys(rest, words().tap, read))
            return false;
    }
    event = read;
    return true;
}

// The count is changed under the lock as reader, by several threads at once. One of 0 is on its way out, unless
// somebody registers the event before its last owner has come in as writer.
struct ComplexKeyboardEventManager::Record
{
    explicit Record(const ComplexKeyboardEvent& event) : event(event) {}

    std::atomic<std::int32_t> count{1};
    const ComplexKeyboardEvent event;
};

ComplexKeyboardEventManager& ComplexKeyboardEventManager::mgr()
{
    return immortal<ComplexKeyboardEventManager>();
}

ComplexKeyboardEventManager::~ComplexKeyboardEventManager()
{
    for (const Record* const record : slots_)
        delete record;
}

int ComplexKeyboardEventManager::find(ComplexKeyboardEvent const& event) const noexcept
{
    for (int slot = 0; slot < numSlots; ++slot)
        if (const Record* const record = slots_[static_cast<std::size_t>(slot)]; record && record->event == event)
            return slot;
    return -1;
}

// Adds a reference to the event's record. The key code, or 0 if it has none. The caller holds the lock.
int ComplexKeyboardEventManager::share(ComplexKeyboardEvent const& event) noexcept
{
    const int slot = find(event);
    if (slot < 0)
        return 0;
    slots_[static_cast<std::size_t>(slot)]->count.fetch_add(1, std::memory_order_relaxed);
    return slotNumberToKeyCode(slot);
}

int ComplexKeyboardEventManager::registerMapItem_this(MapItem const* item)
{
    const ComplexKeyboardEvent event = item->cke();
    {
        const std::shared_lock lock(lock_);
        if (const int keycode = share(event); keycode != 0)
            return keycode;
    }
    const std::unique_lock lock(lock_);
    // Another thread may have been first.
    if (const int keycode = share(event); keycode != 0)
        return keycode;
    for (int slot = 0; slot < numSlots; ++slot)
        if (Record*& record = slots_[static_cast<std::size_t>(slot)]; record == nullptr)
        {
            record = new Record(event);
            return slotNumberToKeyCode(slot);
        }
    return 0;
}

void ComplexKeyboardEventManager::deregisterMapItem_this(MapItem const* item)
{
    int slot;
    {
        const std::shared_lock lock(lock_);
        slot = find(item->cke());
        if (slot < 0)
            return;
        std::atomic<std::int32_t>& count = slots_[static_cast<std::size_t>(slot)]->count;
        std::int32_t before = count.load(std::memory_order_relaxed);
        while (before > 0 && !count.compare_exchange_weak(before, before - 1, std::memory_order_relaxed))
            ;
        if (before != 1)
            return;
    }
    const std::unique_lock lock(lock_);
    // Whatever is in the slot by now: without a reference it can go.
    Record*& record = slots_[static_cast<std::size_t>(slot)];
    if (record != nullptr && record->count.load(std::memory_order_relaxed) == 0)
    {
        delete record;
        record = nullptr;
    }
}

int ComplexKeyboardEventManager::lookup_this(ComplexKeyboardEvent const& event)
{
    const std::shared_lock lock(lock_);
    const int slot = find(event);
    return slot >= 0 ? slotNumberToKeyCode(slot) : 0;
}

ComplexKeyboardEvent ComplexKeyboardEventManager::lookup_this(int keycode)
{
    const int slot = keyCodeToSlotNumber(keycode);
    if (slot < 0 || slot >= numSlots)
        return {};
    const std::shared_lock lock(lock_);
    const Record* const record = slots_[static_cast<std::size_t>(slot)];
    return record != nullptr ? record->event : ComplexKeyboardEvent();
}
