#pragma once

#include "OS/Export.h"

#include <cstdio>

// The log: lines on standard output, each stamped with the seconds since the start as "%-9.3f: %s". The
// caller supplies the new line. Works from the first static constructor to the last destructor.
//
// Any thread, without a lock: a line is one write, so lines of several threads don't mix within a line.
// The filter and the stream are to be set while no other thread logs.

// Formats and writes one line of 1 to 255 characters. A text that is empty or longer is lost, and an
// assertion line says so. All that is written is UTF-8: the wide form formats wide and converts; for a
// "%ls" in a narrow format convert the argument with toUTF8 first.
[[gnu::format(printf, 1, 2)]] MISC_API void Log(const char* format, ...);
MISC_API void Log(const wchar_t* format, ...);

// Writes the text as it is, of whatever length.
MISC_API void LogString(const char* text);
MISC_API void LogStringW(const wchar_t* text);

// Log, and the same text on the debug console.
[[gnu::format(printf, 1, 2)]] MISC_API void LogBoth(const char* format, ...);

// LogString, and the same text on the debug console.
MISC_API void LogStringBoth(const char* text);

// From now on only lines whose format (for the LogString forms, whose text) contains `filter` are
// written: the filter selects places in the program, not what they say. Null or empty clears it.
MISC_API void SetLogFilter(const char* filter);

// The stream of log and assertion lines, which stays the caller's. Null brings standard output back.
MISC_API void SetLogOutput(std::FILE* stream) noexcept;

// What the platform layer has to say goes to the log from now on, a line each, instead of standard
// error. except_init calls it.
MISC_API void LogPlatformMessages() noexcept;
