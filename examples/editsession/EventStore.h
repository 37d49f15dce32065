#pragma once

#include "examples/editsession/EditList.h"

// Stores the events of a list as objects of a swap table, closes the table, opens it again and compares every
// event that comes back with the one that went in. The file has the name of the first event's cookie, as a
// project. It stays in the directory, which is made if it is missing; without one it is temporary. Gives its path,
// empty for a list without events; `reason` says what went wrong.
Text storeEvents(const EditList& list, const Text& directory, Text& reason);
