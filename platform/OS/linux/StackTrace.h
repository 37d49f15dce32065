#pragma once

#include "Mw/Exception.h"

// Appends one line per frame of the calling thread, beginning with the caller of this function or, for
// each frame skipped, one further out.
void appendStackTrace(Mw::StackTrace& lines, int skippedFrames);
