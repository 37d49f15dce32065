#pragma once

#include "OS/Export.h"
#include "misc/commands/ComplexKeyboardEvent.h"

// One key of a key map: a key code, or a gesture of two keys, on whose slot the item holds a reference of its
// own. Each item is one thread's at a time; items of one gesture may be on many threads.
class MISC_API MapItem
{
public:
    // No key, which ends a table of items.
    MapItem() noexcept = default;

    // The code of a gesture takes a reference on its slot.
    MapItem(int keycode, bool readOnly);

    // The code is 0 if no slot is free.
    MapItem(ComplexKeyboardEvent const& event, bool readOnly);

    MapItem(const MapItem& other);
    MapItem(MapItem&& other) noexcept;
    // Gives up the old reference first.
    MapItem& operator=(const MapItem& other);
    MapItem& operator=(MapItem&& other) noexcept;
    ~MapItem();

    int mappedKeyCode() const noexcept { return mappedKeyCode_; }
    // The user may not remove it.
    bool readOnly() const noexcept { return readOnly_; }
    bool valid() const noexcept { return valid_; }
    // Means something only if usingCke() or lacksSlot().
    ComplexKeyboardEvent const& cke() const noexcept { return cke_; }
    // Whether the item is a gesture that has a slot, and whether it is one that found none free.
    bool usingCke() const noexcept { return usingCke_; }
    bool lacksSlot() const noexcept { return lacksSlot_; }

private:
    void registerCke();
    void deregisterCke();
    void take(MapItem& other) noexcept;

    int mappedKeyCode_ = 0;
    bool readOnly_ = true;
    bool valid_ = false;
    ComplexKeyboardEvent cke_;
    bool usingCke_ = false;
    bool lacksSlot_ = false;
};

// Reads a display form of one key or of a gesture, as keycodeFromDisplayText does, into an item that the user may
// remove; one that isn't valid if the text is no key.
MISC_API MapItem mapItemFromText(const LightweightString<wchar_t>& text);
