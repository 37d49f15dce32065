#pragma once

#include "Mw/LightweightString.h"
#include "OS/Export.h"

#include <cstdint>

// Display texts by number. The texts are English and compiled in: misc/base/ResourceTexts.inc. A file "strings.txt"
// replaces them, and can add others: in the user's configuration directory, the machine's, or beside the program,
// whichever comes first (iFileMgr::findConfigurationFile). It is read once, at the first look-up: before `main` as
// well. A line is a number, blanks or tabs, and the text in UTF-8, which may be empty; the last line of a number
// counts. Empty lines and those that begin with "#" are passed over, others are reported with their number through
// OS().message. Any thread.
//
//     # German
//     11700 Strg

enum class ResId : std::uint32_t
{
    none = 999999 // no resource: an empty text
};

// A failure code of the library, which is the number of its text too.
enum class MwResult : std::uint32_t
{
};

enum class ResStrFmt
{
    asIs,
    upperCase // the letters of ASCII only
};

// The text in UTF-8 or wide. A number without a text gives one that says so, such as "<resource 12345>".
MISC_API LightweightString<char> resourceStr(ResId id, ResStrFmt format = ResStrFmt::asIs);
MISC_API LightweightString<char> resourceStr(MwResult result, ResStrFmt format = ResStrFmt::asIs);
MISC_API LightweightString<wchar_t> resourceStrW(ResId id, ResStrFmt format = ResStrFmt::asIs);
MISC_API LightweightString<wchar_t> resourceStrW(MwResult result, ResStrFmt format = ResStrFmt::asIs);
