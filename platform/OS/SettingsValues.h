#pragma once

#include "OS/ReaderLock.h"
#include "OS/Settings.h"

#include <cstdint>
#include <shared_mutex>

// The values of a settings store in memory, for reading by many threads at once. Any thread.
class SettingsValues
{
public:
    using Text = LightweightString<char>;

    // As iSettings::findValue, readValue, getMultipleValues and getSections.
    bool find(std::string_view key, std::string_view section, Text& value) const;
    bool read(std::string_view key, std::string_view section, iSettings::Reader& reader) const;
    void list(std::vector<iSettings::NameValuePair>& result, std::string_view section) const;
    void listSections(std::vector<Text>& result) const;

    // Whether there is nothing that the change would change.
    bool holds(const iSettings::Change& change) const;

    // Makes all the changes; no reader sees but some of them.
    void apply(const std::vector<iSettings::Change>& changes);

    // Takes the values of `other`, which is empty afterwards.
    void replaceBy(SettingsValues& other);

    // A value that is read into values that no other thread sees yet.
    void add(const Text& key, const Text& section, const Text& value) { values_.put(key, section, value); }

private:
    struct Entry
    {
        std::size_t hash;
        Text section;
        Text key;
        Text value;
    };

    // Where an entry is that may be the one looked for: 0 is an empty slot, else its number from 1.
    struct Slot
    {
        std::uint32_t hashTop = 0;
        std::uint32_t number = 0;
    };

    // Entries in no order, and a hash table with open addressing over them, at most half full.
    struct Table
    {
        std::vector<Entry> entries;
        std::vector<Slot> slots;

        const Entry* find(std::string_view key, std::string_view section) const;
        void put(const Text& key, const Text& section, const Text& value);
        void take(std::string_view key, std::string_view section);
        void enter(std::uint32_t number);
        void rebuild(std::size_t size);
    };

    static std::size_t hashOf(std::string_view key, std::string_view section);

    mutable ReaderLock mutex_;
    Table values_;
};
