#include "OS/SettingsValues.h"

#include <algorithm>
#include <mutex>

bool SettingsValues::find(std::string_view key, std::string_view section, Text& value) const
{
    const std::shared_lock lock(mutex_);
    const auto found = values_.find(Name{section, key});
    if (found == values_.end())
        return false;
    value = found->second;
    return true;
}

void SettingsValues::list(std::vector<iSettings::NameValuePair>& result, std::string_view section) const
{
    const auto first = static_cast<std::ptrdiff_t>(result.size());
    {
        const std::shared_lock lock(mutex_);
        for (const auto& [name, value] : values_)
            if (std::string_view(name.section) == section)
                result.push_back({name.key, value});
    }
    std::sort(result.begin() + first, result.end(),
              [](const auto& a, const auto& b) { return std::string_view(a.name) < std::string_view(b.name); });
}

void SettingsValues::listSections(std::vector<Text>& result) const
{
    const auto before = [](const Text& a, const Text& b) { return std::string_view(a) < std::string_view(b); };
    const auto same = [](const Text& a, const Text& b) { return std::string_view(a) == std::string_view(b); };
    const auto first = static_cast<std::ptrdiff_t>(result.size());
    {
        const std::shared_lock lock(mutex_);
        for (const auto& [name, value] : values_)
            result.push_back(name.section);
    }
    std::sort(result.begin() + first, result.end(), before);
    result.erase(std::unique(result.begin() + first, result.end(), same), result.end());
}

bool SettingsValues::holds(const iSettings::Change& change) const
{
    const std::shared_lock lock(mutex_);
    const auto found = values_.find(Name{change.section, change.key});
    if (found == values_.end() || !change.value)
        return found == values_.end() && !change.value;
    return std::string_view(found->second) == std::string_view(*change.value);
}

void SettingsValues::apply(const std::vector<iSettings::Change>& changes)
{
    const std::unique_lock lock(mutex_);
    for (const iSettings::Change& change : changes)
        if (change.value)
            values_.insert_or_assign(StoredName{change.section, change.key}, *change.value);
        else if (const auto found = values_.find(Name{change.section, change.key}); found != values_.end())
            values_.erase(found);
}

void SettingsValues::replaceBy(SettingsValues& other)
{
    Map values;
    values.swap(other.values_);
    {
        const std::unique_lock lock(mutex_);
        values_.swap(values);
    }
}

void SettingsValues::add(Text section, Text key, Text value)
{
    values_.insert_or_assign(StoredName{std::move(section), std::move(key)}, std::move(value));
}
