#pragma once

#include <string_view>

// Reads the display form of one key, no gesture, as keycodeFromDisplayText does. 0 if the text is none. Any thread.
int readKey(std::wstring_view text);
