#include "OS/testing/MemorySettings.h"

#include "OS/SettingsValues.h"

MemorySettings::MemorySettings() : values_(std::make_unique<SettingsValues>()) {}
MemorySettings::~MemorySettings() = default;

void MemorySettings::getMultipleValues(std::vector<NameValuePair>& result, const LightweightString<char>& section)
{
    values_->list(result, section);
}

bool MemorySettings::findValue(std::string_view key, std::string_view section, LightweightString<char>& value)
{
    return values_->find(key, section, value);
}

int MemorySettings::apply(const std::vector<Change>& changes)
{
    const eResult result = result_;
    if (result == eStored || result == eKeptInMemory)
        values_->apply(changes);
    return result;
}

void MemorySettings::getSections(std::vector<LightweightString<char>>& result)
{
    values_->listSections(result);
}

LightweightString<char> MemorySettings::lastError()
{
    return result_ == eStored ? "" : "Failing on request";
}
