#pragma once

#include "OS/Export.h"
#include "misc/commands/SimpleKeyMapper.h"

// The clients that are there in every program, made before `main` or when first asked for. They live as long as the
// process.

// The keys of the control console, which have no default keys.
MISC_API SimpleKeyMapper& ConsoleMapper();

// Editing of text, and the keypad.
MISC_API SimpleKeyMapper& TextEditingMapper();
