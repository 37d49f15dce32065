// The forms of the settings that hold an id stamp.

#include "misc/identity/IdStamp.h"
#include "misc/settings/RegistryConfig.h"
#include "misc/settings/config.h"
#include "misc/settings/config_outb.h"
#include "misc/settings/configb.h"

void configb::set(char const* key, IdStamp const& value)
{
    set(key, value.asString().c_str(), "IdStamp");
}

int configb::in(char const* key, IdStamp& out) const
{
    char const* const value = in(key);
    if (value == nullptr)
        return -1;
    out = IdStamp(value);
    return 0;
}

void config_outb::out(char const* name, IdStamp const& value)
{
    out(name, value.asString().c_str());
}

IdStamp RegistryConfig::getValue(std::string_view key, const IdStamp& dflt, std::string_view section) const
{
    return IdStamp(getValue(key, dflt.asString(), section).c_str());
}

int RegistryConfig::setValue(std::string_view key, const IdStamp& value, std::string_view section)
{
    return setValue(key, value.asString(), section);
}

IdStamp config_IdStamp(char const* name, IdStamp dflt)
{
    return GlobalConfig().getValue(name, dflt, "");
}
