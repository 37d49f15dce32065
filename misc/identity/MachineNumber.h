#pragma once

#include "OS/Export.h"

// The number of this installation, the half of a classic identity that tells machines apart. Any thread.
//
// The first of these that has one gives it:
//   1. the setting "machine.num", taken as it is unless 0; GlobalConfig(), no section
//   2. the system's registry, where there is one, likewise
//   3. a file: "c:\machine.num", then "machine.num" in the working directory, then in the user's data
//      directory. If there is none, a number is made up and the last of them is made to hold it.
// Gives 0, with a loud warning, if the file holds no number that isValidMachineNum accepts.
MISC_API int our_machine_number_get_from_file();
