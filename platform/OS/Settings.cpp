#include "OS/Settings.h"

int iSettings::setValue(const LightweightString<char>& key, const LightweightString<char>& value,
                        const LightweightString<char>& section)
{
    return apply({{key, section, value}});
}

LightweightString<char> iSettings::getValue(const LightweightString<char>& key,
                                            const LightweightString<char>& defaultValue,
                                            const LightweightString<char>& section)
{
    LightweightString<char> value = defaultValue;
    findValue(key, section, value);
    return value;
}

bool iSettings::readValue(std::string_view key, std::string_view section, Reader& reader)
{
    LightweightString<char> value;
    const bool found = findValue(key, section, value);
    if (found)
        reader.read(value);
    return found;
}

int iSettings::removeValue(const LightweightString<char>& key, const LightweightString<char>& section)
{
    return apply({{key, section, std::nullopt}});
}
