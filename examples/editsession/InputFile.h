#pragma once

#include "examples/editsession/Text.h"

#include <cstddef>
#include <string>

// Reads a whole file through OS().fileMgr(), pipes included. Gives an empty text, or why the file can't be
// read; one of more than `limitBytes` can't.
Text readInputFile(const Text& path, std::size_t limitBytes, std::string& contents);
