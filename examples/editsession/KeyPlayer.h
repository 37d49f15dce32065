#pragma once

#include "examples/editsession/EditList.h"
#include "examples/editsession/EditListReader.h"

#include <string>
#include <string_view>

// The session's commands, which are registered before main with the keys that they have unless the user says
// otherwise: stepping, going to events and marks, marking, playing, exporting what is marked.

// Plays key presses over a list that has events. Each line of `keys` names a key, which is pressed, held for a second
// and released; what the keys' commands do goes to the text that is given, one line for each key. A line that names
// none goes to `refuse`, and the rest is still played.
std::string playKeys(const EditList& list, std::string_view keys, const EditListReader::Refuse& refuse);
