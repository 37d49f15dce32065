#pragma once

#include "examples/editsession/EditList.h"

#include <string>

// Computes a checksum over the source frames of every event, as background tasks on the threads of the user interface,
// and tells on standard error how far it is. There is no picture behind an edit list: a frame stands for a pattern that
// its reel and number make. Gives a line for each event in `lines`; false if Ctrl-C ended it, and `lines` is empty.
bool checkEvents(const EditList& list, std::string& lines);
