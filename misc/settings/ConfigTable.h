#pragma once

#include "Mw/LightweightString.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

// One value of a configuration table, and the short word that says what it is.
struct ConfigEntryT
{
    LightweightString<char> type_;
    LightweightString<char> value_;

    friend bool operator==(const ConfigEntryT&, const ConfigEntryT&) = default;
};

// The entries of a configb: found by key without regard to the case of A to Z, and walked in the order of
// their keys, also without case. A key keeps the case it came with first.
//
// Entries stand in one array, in order for as long as they arrive in order, and a table of hashes finds
// them. Any number of threads may read; changing is one thread's.
class ConfigTable
{
public:
    struct Item
    {
        LightweightString<char> key;
        ConfigEntryT entry;
    };

    bool empty() const noexcept { return items_.empty(); }
    std::size_t size() const noexcept { return items_.size(); }

    // Null if there is none. Valid until the table is changed.
    const ConfigEntryT* find(std::string_view key) const noexcept;

    // The entry of the key; `isNew` tells that it was made by this call, empty.
    ConfigEntryT& findOrAdd(std::string_view key, bool& isNew);

    // False if there was none.
    bool remove(std::string_view key);

    void clear() noexcept;

    // Calls function(item) for each entry in the order of the keys.
    template <class Function>
    void forEach(Function function) const
    {
        if (isInOrder_)
            return static_cast<void>(std::for_each(items_.begin(), items_.end(), function));
        for (const Item* const item : inOrder())
            function(*item);
    }

private:
    // A place in the table of hashes; `item` counts from 1, and 0 marks a free place.
    struct Slot
    {
        std::uint32_t hash = 0;
        std::uint32_t item = 0;
    };

    static std::uint32_t hashOf(std::string_view key) noexcept;

    // The slot of the key, or the free one where it belongs. The table of hashes is never full.
    std::size_t slotOf(std::string_view key, std::uint32_t hash) const noexcept;
    void growSlots();
    void freeSlot(std::size_t slot) noexcept;
    std::vector<const Item*> inOrder() const;

    std::vector<Item> items_;
    std::vector<Slot> slots_; // a power of two, at most half of it in use
    bool isInOrder_ = true;
};
