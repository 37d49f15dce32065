#pragma once

#include "OS/Export.h"

// How often this process was forked off since the library was loaded in it or a forebear: 0 for a process
// that began with exec. State that a parent and its child must not both use (random numbers in stock,
// counters of identities) is stamped with it and renewed when it has changed. The first call is to be made
// before there is such state. Any thread.
OS_API unsigned forkCount() noexcept;
