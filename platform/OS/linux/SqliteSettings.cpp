#include "OS/Settings.h"
#include "OS/testing/MemorySettings.h"

Mw::Ptr<iSettings> Mw::openSettingsFile(const LightweightString<wchar_t>&)
{
    return Mw::makePtr<MemorySettings>();
}
