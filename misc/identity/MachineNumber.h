#pragma once

#include "OS/Export.h"

// The number of this installation, 0 where it has none. Any thread.
MISC_API int our_machine_number_get_from_file();
