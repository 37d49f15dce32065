#pragma once

#include "OS/Export.h"

// The version of this library, "14.0.0.0". Any thread.
MISC_API const char* miscDllVersionStr() noexcept;
