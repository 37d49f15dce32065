#pragma once

#include "OS/linux/NativeEvent.h"

#include <span>

using EventList = std::span<const Mw::Ptr<iThreadEvent>>;

// Waits for the first of the events that is set and takes it; gives its index, or -1 if the time passed.
int waitForAny(EventList events, int timeoutMs);

// Waits until all events are set at one time and takes them; false if the time passed.
bool waitForAll(EventList events, int timeoutMs);

// Wakes up to `count` of the threads that wait for the event with this word, alone or among several.
void wakeSleepers(const void* word, int count) noexcept;
