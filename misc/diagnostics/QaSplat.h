#pragma once

#include "OS/Export.h"

// The faults of which an installation decides whether they stop it, and those that the user is shown. Any
// thread.

// In the field, logs the calling thread's stack under the message and returns; where the setting "QA Splat"
// of GlobalConfig() is true, as in a test installation, stops the program with oma_splat. The second argument is not
// used.
MISC_API void qa_splat(const char* message, int level);

// Shows the message, ASCII, in a box and waits for it to be closed, on life support meanwhile. With
// `show` false, shows nothing.
MISC_API void showError(const char* message, bool show);
