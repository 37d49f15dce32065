#pragma once

#include "bench/harness/Measure.h"

#include <cstdio>
#include <vector>

namespace bench
{

// One line of the table as text: case, ours, best peer, its name, ratio ours/best peer, ratio ours/limit,
// aim. `printTableHead` goes before the first; with `sides`, all sides of the case follow below.
void printTableHead(std::FILE* out);
void printRow(std::FILE* out, const Measurement& row, bool sides);

// The table as a JSON array; false if the file could not be written.
bool writeJson(const char* path, const std::vector<Measurement>& rows);

// Lists the rows that miss an aim; gives their number.
int printMisses(std::FILE* out, const std::vector<Measurement>& rows);

// Lists the cases with what they measure and their sides.
void printCases(std::FILE* out, const std::vector<Case>& cases);

} // namespace bench
