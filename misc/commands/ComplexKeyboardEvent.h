#pragma once

#include "Mw/LightweightString.h"
#include "OS/Export.h"
#include "misc/base/RWLock.h"

#include <array>
#include <cstdint>

class MapItem;

// A gesture of two keys: one is held while a second is tapped, or pressed.
struct ComplexKeyboardEvent
{
    std::int32_t heldKey = 0; // key codes
    std::int32_t secondKey = 0;
    std::int32_t press = 0; // 0 for a tap, anything else for a press

    friend bool operator==(const ComplexKeyboardEvent&, const ComplexKeyboardEvent&) = default;
};

// "Hold 'a' press 'b'" or "Hold 'a' tap 'b'", with the display forms of the keys.
MISC_API LightweightString<wchar_t> complexKeyboardEventToString(const ComplexKeyboardEvent& event);

// Reads that form; false, with `event` left alone, if the text is none.
MISC_API bool complexKeyboardEventFromDisplayText(const LightweightString<wchar_t>& text, ComplexKeyboardEvent& event);

// Folds gestures into key codes through 255 counted slots: a code holds as long as somebody has a reference on
// its slot, which may belong to another gesture afterwards. Map items take and drop the references. Any thread.
class MISC_API ComplexKeyboardEventManager
{
public:
    static constexpr int numSlots = 255;

    // The one of the process, which is never destroyed.
    static ComplexKeyboardEventManager& mgr();

    ComplexKeyboardEventManager() = default;
    ~ComplexKeyboardEventManager();
    ComplexKeyboardEventManager(const ComplexKeyboardEventManager&) = delete;
    ComplexKeyboardEventManager& operator=(const ComplexKeyboardEventManager&) = delete;

    // Takes a reference on the slot of the item's event, a free one if it has none yet. Gives its key code, or 0
    // if no slot is free.
    static int registerMapItem(MapItem const* item) { return mgr().registerMapItem_this(item); }

    // Drops a reference; the last one frees the slot. An event without a slot is ignored.
    static void deregisterMapItem(MapItem const* item) { mgr().deregisterMapItem_this(item); }

    // The key code of an event, 0 if it has no slot, and the event of a key code, all zero if it has none.
    static int lookup(ComplexKeyboardEvent const& event) { return mgr().lookup_this(event); }
    static ComplexKeyboardEvent lookup(int keycode) { return mgr().lookup_this(keycode); }

    int registerMapItem_this(MapItem const* item);
    void deregisterMapItem_this(MapItem const* item);
    int lookup_this(ComplexKeyboardEvent const& event);
    ComplexKeyboardEvent lookup_this(int keycode);

    static constexpr int slotNumberToKeyCode(int slot) noexcept { return (slot + 1) | codeBit; }
    // -1 for a code that is none of a slot.
    static constexpr int keyCodeToSlotNumber(int keycode) noexcept
    {
        return (keycode & codeBit) != 0 ? (keycode & 0xFF) - 1 : -1;
    }

private:
    static constexpr int codeBit = 0x40000000;

    struct Record;

    // The lowest slot of the event, -1 if it has none. The caller holds the lock.
    int find(ComplexKeyboardEvent const& event) const noexcept;
    int share(ComplexKeyboardEvent const& event) noexcept;

    std::array<Record*, numSlots> slots_{};
    RWLock lock_{1, 100, 1};
};
