#pragma once

#include "Mw/LightweightString.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
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
// them. Keys stand close together in blocks of their own, one allocation for hundreds. Any number of threads
// may read; changing is one thread's.
class ConfigTable
{
public:
    struct Item
    {
        std::string_view key; // terminated
        ConfigEntryT entry;
    };

    ConfigTable() = default;
    // The copy's entries stand in order.
    ConfigTable(const ConfigTable& other);
    ConfigTable& operator=(ConfigTable other) noexcept;

    bool empty() const noexcept { return items_.empty(); }
    std::size_t size() const noexcept { return items_.size(); }

    // Null if there is none. Valid until the table is changed.
    const ConfigEntryT* find(std::string_view key) const noexcept;

    // Makes room for so many entries in all.
    void reserve(std::size_t count);

    // The entry of the key; `isNew` tells that it was made by this call, empty.
    ConfigEntryT& findOrAdd(std::string_view key, bool& isNew);

    // False if there was none.
    bool remove(std::string_view key);

    void clear() noexcept { *this = ConfigTable(); }

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

    // Copies of keys that stay where they are. What is removed keeps its room.
    class Keys
    {
    public:
        std::string_view add(std::string_view key);

    private:
        std::vector<std::unique_ptr<char[]>> blocks_;
        char* next_ = nullptr;
        std::size_t roomBytes_ = 0;
    };

    static std::uint32_t hashOf(std::string_view key) noexcept;

    // The slot of the key, or the free one where it belongs. The table of hashes is never full.
    std::size_t slotOf(std::string_view key, std::uint32_t hash) const noexcept;
    void resizeSlots(std::size_t count);
    void freeSlot(std::size_t slot) noexcept;
    std::vector<const Item*> inOrder() const;

    Keys keys_;
    std::vector<Item> items_;
    std::vector<Slot> slots_; // a power of two, at most three quarters of it in use
    bool isInOrder_ = true;
    std::size_t removed_ = 0; // keys that still have their room
};
