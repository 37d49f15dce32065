#include "misc/commands/ComplexKeyboardEvent.h"

#include "misc/commands/KeyCode.h"
#include "misc/commands/MapItem.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace
{

using Manager = ComplexKeyboardEventManager;

MapItem item(int number, int press = 0)
{
    return MapItem(ComplexKeyboardEvent{'a', number, press}, false);
}

int slotsTaken()
{
    int taken = 0;
    for (int slot = 0; slot < Manager::numSlots; ++slot)
        taken += Manager::lookup(Manager::slotNumberToKeyCode(slot)) != ComplexKeyboardEvent();
    return taken;
}

} // namespace

TEST(ComplexKeyboardEvent, anEventKeepsItsSlotWhileAnyItemHoldsIt)
{
    std::vector<MapItem> items{item(1), item(1, 1), item(2)};
    const int code = items[0].mappedKeyCode();
    EXPECT_EQ(slotsTaken(), 3);
    MapItem copy = items[0];
    MapItem byCode(code, true);
    items.clear();
    EXPECT_EQ(slotsTaken(), 1);
    MapItem& self = copy;
    copy = self;
    byCode = MapItem();
    EXPECT_EQ(Manager::lookup(ComplexKeyboardEvent{'a', 1, 0}), code);
    copy = item(7);
    EXPECT_EQ(Manager::lookup(ComplexKeyboardEvent{'a', 1, 0}), 0);
    MapItem moved = std::move(copy);
    EXPECT_EQ(slotsTaken(), 1);
    moved = MapItem('x', false);
    EXPECT_EQ(slotsTaken(), 0);
}

TEST(ComplexKeyboardEvent, theOneBeyondTheLastSlotGetsNoCode)
{
    std::vector<MapItem> items;
    for (int number = 0; number < Manager::numSlots; ++number)
        items.push_back(item(number));
    MapItem late = item(Manager::numSlots);
    EXPECT_EQ(late.mappedKeyCode(), 0);
    EXPECT_FALSE(late.usingCke());
    const MapItem known = item(100);
    EXPECT_EQ(known.mappedKeyCode(), items[100].mappedKeyCode());
    // What has no slot gives none up, and a copy tries again.
    MapItem{late} = MapItem();
    EXPECT_EQ(slotsTaken(), Manager::numSlots);
    items.resize(50);
    EXPECT_TRUE(MapItem(late).usingCke());
    EXPECT_EQ(slotsTaken(), 51);
    for (const int code : {0x40000000, 0x40000100})
        EXPECT_EQ(Manager::lookup(code), ComplexKeyboardEvent()) << code;
}

TEST(ComplexKeyboardEvent, copiesOnManyThreadsNeverLeakOrStealASlot)
{
    // Three events come and go all the time; one is held throughout, and is copied by all.
    const MapItem held = item(99);
    std::atomic<int> wrong{0};
    const auto work = [&](unsigned seed)
    {
        for (int round = 0; round < 4000; ++round)
        {
            seed = seed * 1664525u + 1013904223u;
            const MapItem own = item(static_cast<int>(seed >> 24) % 3);
            MapItem copy = own;
            wrong += Manager::lookup(own.mappedKeyCode()) != own.cke() || copy.mappedKeyCode() != own.mappedKeyCode();
            copy = held;
            wrong += copy.mappedKeyCode() != held.mappedKeyCode();
        }
    };
    {
        const std::jthread threads[] = {std::jthread(work, 1u), std::jthread(work, 2u), std::jthread(work, 3u)};
    }
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(slotsTaken(), 1);
}
