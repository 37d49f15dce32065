#include "misc/settings/PrefVal.h"

#include "misc/settings/RegistryConfig.h"

bool PrefVal::get() const
{
    return UserConfig().getValue(name_, dflt_, "Preferences");
}

bool PrefVal::set(bool value) const
{
    const int result = UserConfig().setValue(name_, value, "Preferences");
    return result == iSettings::eStored || result == iSettings::eKeptInMemory;
}
