#include "OS/SettingsValues.h"

#include "Mw/WordHash.h"

#include <algorithm>
#include <bit>
#include <mutex>

std::size_t SettingsValues::hashOf(std::string_view key, std::string_view section)
{
    using Mw::words::hashOf;
    return section.empty() ? hashOf(key) : hashOf(key) + 31 * hashOf(section);
}

const SettingsValues::Entry* SettingsValues::Table::find(std::string_view key, std::string_view section) const
{
    if (slots.empty())
        return nullptr;
    const std::size_t hash = hashOf(key, section);
    for (std::size_t at = hash;; ++at)
    {
        const Slot slot = slots[at & (slots.size() - 1)];
        if (slot.number == 0)
            return nullptr;
        if (slot.hashTop != static_cast<std::uint32_t>(hash >> 32))
            continue;
        const Entry& entry = entries[slot.number - 1];
        if (std::string_view(entry.key) == key && std::string_view(entry.section) == section)
            return &entry;
    }
}

void SettingsValues::Table::put(const Text& key, const Text& section, const Text& value)
{
    if (const Entry* const found = find(key, section))
    {
        entries[static_cast<std::size_t>(found - entries.data())].value = value;
        return;
    }
    entries.push_back({hashOf(key, section), section, key, value});
    if (entries.size() * 2 > slots.size())
        rebuild(std::bit_ceil(entries.size() * 4));
    else
        enter(static_cast<std::uint32_t>(entries.size()));
}

// Removals are rare: whoever asked for one has waited for the disk.
void SettingsValues::Table::take(std::string_view key, std::string_view section)
{
    const Entry* const found = find(key, section);
    if (found == nullptr)
        return;
    std::swap(entries[static_cast<std::size_t>(found - entries.data())], entries.back());
    entries.pop_back();
    rebuild(slots.size());
}

void SettingsValues::Table::enter(std::uint32_t number)
{
    const std::size_t hash = entries[number - 1].hash;
    std::size_t at = hash & (slots.size() - 1);
    while (slots[at].number != 0)
        at = (at + 1) & (slots.size() - 1);
    slots[at] = {static_cast<std::uint32_t>(hash >> 32), number};
}

void SettingsValues::Table::rebuild(std::size_t size)
{
    slots.assign(size, {});
    for (std::uint32_t number = 1; number <= entries.size(); ++number)
        enter(number);
}

bool SettingsValues::find(std::string_view key, std::string_view section, Text& value) const
{
    const std::shared_lock lock(mutex_);
    const Entry* const found = values_.find(key, section);
    if (found != nullptr)
        value = found->value;
    return found != nullptr;
}

bool SettingsValues::read(std::string_view key, std::string_view section, iSettings::Reader& reader) const
{
    const std::shared_lock lock(mutex_);
    const Entry* const found = values_.find(key, section);
    if (found != nullptr)
        reader.read(found->value);
    return found != nullptr;
}

void SettingsValues::list(std::vector<iSettings::NameValuePair>& result, std::string_view section) const
{
    const auto first = static_cast<std::ptrdiff_t>(result.size());
    {
        const std::shared_lock lock(mutex_);
        for (const Entry& entry : values_.entries)
            if (std::string_view(entry.section) == section)
                result.push_back({entry.key, entry.value});
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
        for (const Entry& entry : values_.entries)
            result.push_back(entry.section);
    }
    std::sort(result.begin() + first, result.end(), before);
    result.erase(std::unique(result.begin() + first, result.end(), same), result.end());
}

bool SettingsValues::holds(const iSettings::Change& change) const
{
    const std::shared_lock lock(mutex_);
    const Entry* const found = values_.find(change.key, change.section);
    if (found == nullptr || !change.value)
        return found == nullptr && !change.value;
    return std::string_view(found->value) == std::string_view(*change.value);
}

void SettingsValues::apply(const std::vector<iSettings::Change>& changes)
{
    const std::unique_lock lock(mutex_);
    for (const iSettings::Change& change : changes)
        if (change.value)
            values_.put(change.key, change.section, *change.value);
        else
            values_.take(change.key, change.section);
}

void SettingsValues::replaceBy(SettingsValues& other)
{
    Table values = std::move(other.values_);
    other.values_ = {};
    const std::unique_lock lock(mutex_);
    std::swap(values_, values);
}
