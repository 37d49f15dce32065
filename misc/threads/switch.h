#pragma once

#include "OS/Export.h"
#include "OS/Thread.h"

// What all threads of the library share. Any thread.

// The platform's priority, 0 to 5, for one of the library's, -2 to 4; 2, that of the process, for any other.
MISC_API int mapThreadPriority(int priority) noexcept;

// The handler that every thread of the library is made with. The first exception in the process is logged, with
// the stack that it carries, and ends in postExceptionShutdown; later ones only count.
MISC_API void threadExceptionHandler(const iThread::Exception& exception);
