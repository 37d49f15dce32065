#include "misc/commands/MapItem.h"

#include "misc/commands/KeyCode.h"

#include <utility>

MapItem::MapItem(int keycode, bool readOnly) : mappedKeyCode_(keycode), readOnly_(readOnly), valid_(true)
{
    if ((keycode & KeyCode::complexEvent) == 0)
        return;
    cke_ = ComplexKeyboardEventManager::lookup(keycode);
    registerCke();
}

MapItem::MapItem(ComplexKeyboardEvent const& event, bool readOnly) : readOnly_(readOnly), valid_(true), cke_(event)
{
    registerCke();
}

MapItem::MapItem(const MapItem& other)
{
    *this = other;
}

MapItem::MapItem(MapItem&& other) noexcept
{
    take(other);
}

MapItem& MapItem::operator=(const MapItem& other)
{
    if (this == &other)
        return *this;
    deregisterCke();
    mappedKeyCode_ = other.mappedKeyCode_;
    readOnly_ = other.readOnly_;
    valid_ = other.valid_;
    cke_ = other.cke_;
    if (other.usingCke_ || other.lacksSlot_)
        registerCke();
    return *this;
}

MapItem& MapItem::operator=(MapItem&& other) noexcept
{
    if (this != &other)
    {
        deregisterCke();
        take(other);
    }
    return *this;
}

MapItem::~MapItem()
{
    deregisterCke();
}

void MapItem::registerCke()
{
    mappedKeyCode_ = ComplexKeyboardEventManager::registerMapItem(this);
    usingCke_ = mappedKeyCode_ != 0;
    lacksSlot_ = !usingCke_;
}

void MapItem::deregisterCke()
{
    if (usingCke_)
        ComplexKeyboardEventManager::deregisterMapItem(this);
    usingCke_ = false;
    lacksSlot_ = false;
}

// With its reference; the other is no key afterwards. This one holds none.
void MapItem::take(MapItem& other) noexcept
{
    mappedKeyCode_ = std::exchange(other.mappedKeyCode_, 0);
    readOnly_ = std::exchange(other.readOnly_, true);
    valid_ = std::exchange(other.valid_, false);
    cke_ = std::exchange(other.cke_, {});
    usingCke_ = std::exchange(other.usingCke_, false);
    lacksSlot_ = std::exchange(other.lacksSlot_, false);
}

MapItem mapItemFromText(const LightweightString<wchar_t>& text)
{
    if (ComplexKeyboardEvent event; complexKeyboardEventFromDisplayText(text, event))
    {
        MapItem item(event, false);
        return item.usingCke() ? item : MapItem();
    }
    const int keycode = keycodeFromDisplayText(text);
    return keycode != 0 ? MapItem(keycode, false) : MapItem();
}
