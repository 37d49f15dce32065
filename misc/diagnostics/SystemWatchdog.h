#pragma once

#include "OS/Export.h"

// Tells whoever watches the program for standing still that a long wait is meant, such as a message box
// that waits for its answer. Any thread.
namespace SystemWatchdog
{

// Waits nest. An end without a beginning is an assertion and changes nothing.
MISC_API void beginLifeSupport() noexcept;
MISC_API void endLifeSupport() noexcept;

MISC_API bool isOnLifeSupport() noexcept;

} // namespace SystemWatchdog
