#pragma once

#include "misc/media/FrameRate.h"

// What looks at the rate of the project that is open now. Any thread.

namespace Mw
{

// The rate of the current project. There is no project state yet: FR25, the rate that a project starts
// with.
MISC_API FrameRate currentProjectFrameRate();

// The rate nearest to a measured number of frames per second; neighbours meet at their midpoint, which
// goes to the lower. A number above 1000.0 stands for no real rate and gives the current project's. One
// below 11.0 or above 241.0, or none at all (NaN), asserts and gives FRInvalid.
MISC_API FrameRate getEquivalentMwFrameRate(double fps);

} // namespace Mw
