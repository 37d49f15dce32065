#pragma once

#include "Mw/Exception.h"

// Appends one line per frame of the calling thread, beginning with the one that will go on at
// `returnAddress`, as __builtin_return_address(0) gives it. So it doesn't matter how many calls in between
// the compiler has left standing.
void appendStackTrace(Mw::StackTrace& lines, const void* returnAddress);
