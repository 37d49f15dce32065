#pragma once

#include "examples/editsession/EditList.h"

// Writes what the session found to a JSON file, for other programs: the list's title and rate, the current project's
// rate and output format, the events with their cookies and edits, and the totals. The file is then checked. Gives an
// empty text, or what went wrong.
Text writeReport(const EditList& list, unsigned refusedLines, const Text& path);

// Reads a report and compares all it says with the list. Gives an empty text, or what went wrong.
Text checkReport(const EditList& list, unsigned refusedLines, const Text& path);
