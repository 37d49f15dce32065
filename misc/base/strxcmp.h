#pragma once

#include "OS/Export.h"

// The sort order of names in the user interface. Case is that of the letters A to Z and white space and
// digits are those of ASCII, whatever locale the host has set. Any thread.

// The natural order: case is ignored and runs of digits compare by value, so "clip9" comes before
// "clip10". Runs of one value that differ in length, such as "01" and "1", are ordered as text. Values
// beyond 32 bits count as the largest. Null is empty. Negative, 0 or positive.
MISC_API int strxcmp(const char* a, const char* b) noexcept;
MISC_API int wstrxcmp(const wchar_t* a, const wchar_t* b) noexcept;

// Ignores white space and case. The sign is the reverse of strcmp's, and its size the difference of the
// first two characters that differ, as they are written. Null is empty.
MISC_API int strycmp(const char* a, const char* b) noexcept;
