#pragma once

#include "OS/Export.h"

#include <cstdio>

// The assertion of the whole library reports and carries on: one line
//
//     assertion failed CONDITION at LOCATION
//
// on the diagnostic stream, and execution goes on with the next statement. It never stops the program,
// throws, or passes a filter. Code that must not go on has its own early return.

namespace Mw
{

// The stream of log and assertion lines: standard output until a host names another. Null brings
// standard output back. Any thread.
OS_API std::FILE* diagnosticStream() noexcept;
OS_API void setDiagnosticStream(std::FILE* stream) noexcept;

// Writes the line. `location` is a module and a line in one text, such as "misc/herc line 558".
OS_API void assertionFailed(const char* condition, const char* location) noexcept;

// The same for a source file as the compiler names it, of which module and line are shown: the file
// ".../misc/media/FrameRate.cpp" is the module "misc/FrameRate".
OS_API void assertionFailed(const char* condition, const char* file, int line) noexcept;

} // namespace Mw

// Reports with the place where it stands.
#define MW_ASSERT(condition) \
    ((condition) ? static_cast<void>(0) : Mw::assertionFailed(#condition, __FILE__, __LINE__))

// Reports with a fixed location text.
#define MW_ASSERT_AT(condition, location) \
    ((condition) ? static_cast<void>(0) : Mw::assertionFailed(#condition, location))
