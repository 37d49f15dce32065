#pragma once

#include "OS/Export.h"

namespace Mw
{

// The current time: seconds of wall time since the start of 1970, UTC, by the clock of OS().debugger().
// Any thread.
LIBMW_API double now();

} // namespace Mw
