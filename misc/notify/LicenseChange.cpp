#include "misc/notify/LicenseChange.h"

#include "OS/Immortal.h"

ValServer<LightweightString<wchar_t>>& getLicenseChangeServer()
{
    return immortal<ValServer<LightweightString<wchar_t>>>();
}
