#pragma once

#include "misc/media/FrameRate.h"

namespace Mw
{

// The rate nearest to a measured number of frames per second; neighbours meet at their midpoint, which
// goes to the lower. A number above 1000.0 stands for no real rate and gives the current project's. One
// below 11.0 or above 241.0, or none at all (NaN), asserts and gives FRInvalid. Any thread.
MISC_API FrameRate getEquivalentMwFrameRate(double fps);

} // namespace Mw
