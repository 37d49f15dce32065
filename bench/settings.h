#pragma once

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

// What the cases of settings are given, the same for all sides: names and values as a program of many
// modules has them.

namespace bench::settings
{

using Pairs = std::vector<std::pair<std::string, std::string>>;

// 1,000 names in no order, and as many that start otherwise and nobody stores.
const std::vector<std::string>& names();
const std::vector<std::string>& absentNames();

// The value of every name, which is the default too: nothing is logged.
inline constexpr int value = 25;

// 10,000 entries in the order of their names, and the same shuffled.
const Pairs& ordered();
const Pairs& shuffled();

// A folder that goes with the process.
const std::filesystem::path& folder();

// Writes the lines, and gives the path of the file.
std::string writeFile(const std::string& name, const std::string& text);

// The entries as an ini file with one section.
std::string iniOf(const Pairs& entries);

} // namespace bench::settings
