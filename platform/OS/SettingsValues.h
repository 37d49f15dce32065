#pragma once

#include "OS/Settings.h"

#include <shared_mutex>
#include <unordered_map>

// The values of a settings store in memory, for reading by many threads at once. Any thread.
class SettingsValues
{
public:
    using Text = LightweightString<char>;

    // As iSettings::findValue, getMultipleValues and getSections.
    bool find(std::string_view key, std::string_view section, Text& value) const;
    void list(std::vector<iSettings::NameValuePair>& result, std::string_view section) const;
    void listSections(std::vector<Text>& result) const;

    // Whether there is nothing that the change would change.
    bool holds(const iSettings::Change& change) const;

    // Makes all the changes; no reader sees but some of them.
    void apply(const std::vector<iSettings::Change>& changes);

    // Takes the values of `other`, which is empty afterwards.
    void replaceBy(SettingsValues& other);

    // A value that is read into values that no other thread sees yet.
    void add(Text section, Text key, Text value);

private:
    struct Name
    {
        std::string_view section;
        std::string_view key;

        bool operator==(const Name&) const = default;
    };
    struct StoredName
    {
        Text section;
        Text key;
    };
    struct Hash
    {
        using is_transparent = void;

        std::size_t operator()(const Name& name) const noexcept
        {
            const std::hash<std::string_view> hash;
            return hash(name.key) + (name.section.empty() ? 0 : 31 * hash(name.section));
        }
        std::size_t operator()(const StoredName& name) const noexcept { return (*this)(viewOf(name)); }
    };
    struct Equal
    {
        using is_transparent = void;

        template <class A, class B>
        bool operator()(const A& a, const B& b) const noexcept
        {
            return viewOf(a) == viewOf(b);
        }
    };
    using Map = std::unordered_map<StoredName, Text, Hash, Equal>;

    static const Name& viewOf(const Name& name) noexcept { return name; }
    static Name viewOf(const StoredName& name) noexcept { return {name.section, name.key}; }

    mutable std::shared_mutex mutex_;
    Map values_;
};
