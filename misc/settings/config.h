#pragma once

#include "OS/Export.h"

class Cookie;
class IdStamp;

// How every module reads a setting: by name, with a default, from GlobalConfig() at the root section. A
// legacy "config.dat" beats the store, and the store the default. docs/settings.md lists the names that
// the library itself asks for. Any thread.

// The first two and the text into a buffer log a value that differs from the default, so that a puzzled
// reader of the log sees what is in force.
MISC_API int config_int(char const* name, int dflt);
MISC_API double config_double(char const* name, double dflt);
MISC_API long config_long(char const* name, long dflt);
MISC_API bool config_Bool(char const* name, bool dflt);
MISC_API Cookie config_cookie(char const* name, Cookie const& dflt);
MISC_API IdStamp config_IdStamp(char const* name, IdStamp dflt);

// Copies at most `size` bytes, fills what is left of them with zeros, and writes a zero at buf[size]: the
// buffer has size + 1 bytes.
MISC_API void config_string(char const* name, char* buf, unsigned int size, char const* dflt);

// A text that stays valid to the end of the process. One that equals the default is not remembered: the
// default pointer itself comes back. A remembered one, whose name is looked up without case, is never asked
// for again, so later changes of the setting don't show here.
MISC_API char const* config_string(char const* name, char const* dflt);

// Reads a legacy table: `file`, or "config.dat" where it is null, or else the old place of it. Does nothing
// if one was read already. 0 for success, anything else if no table could be read whole. An application
// calls it once at its start; settings are there without it.
MISC_API int config_init(char const* file);

// Does nothing: what is set is stored at once.
MISC_API void config_flush();
