#include "misc/base/Version.h"

const char* miscDllVersionStr() noexcept
{
    return "14.0.0.0";
}
