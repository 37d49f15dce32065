#include "misc/settings/ConfigTable.h"

#include "misc/settings/CaselessKey.h"

std::string_view ConfigTable::Keys::add(std::string_view key)
{
    constexpr std::size_t blockBytes = 8 * 1024;
    const std::size_t neededBytes = key.size() + 1;
    if (roomBytes_ < neededBytes)
    {
        roomBytes_ = std::max(blockBytes, neededBytes);
        blocks_.emplace_back(new char[roomBytes_]);
        next_ = blocks_.back().get();
    }
    char* const copy = next_;
    std::copy(key.begin(), key.end(), copy);
    copy[key.size()] = 0;
    next_ += neededBytes;
    roomBytes_ -= neededBytes;
    return {copy, key.size()};
}

ConfigTable::ConfigTable(const ConfigTable& other)
{
    reserve(other.size());
    bool isNew = false;
    other.forEach([&](const Item& item) { findOrAdd(item.key, isNew) = item.entry; });
}

ConfigTable& ConfigTable::operator=(ConfigTable other) noexcept
{
    std::swap(keys_, other.keys_);
    items_.swap(other.items_);
    slots_.swap(other.slots_);
    isInOrder_ = other.isInOrder_;
    removed_ = other.removed_;
    return *this;
}

std::uint32_t ConfigTable::hashOf(std::string_view key) noexcept
{
    return static_cast<std::uint32_t>(Mw::caseless::hashOf(key) >> 32);
}

std::size_t ConfigTable::slotOf(std::string_view key, std::uint32_t hash) const noexcept
{
    const std::size_t mask = slots_.size() - 1;
    std::size_t at = hash & mask;
    for (; slots_[at].item != 0; at = (at + 1) & mask)
        if (slots_[at].hash == hash && Mw::caseless::isEqual(items_[slots_[at].item - 1].key, key))
            break;
    return at;
}

const ConfigEntryT* ConfigTable::find(std::string_view key) const noexcept
{
    if (items_.empty())
        return nullptr;
    const Slot& slot = slots_[slotOf(key, hashOf(key))];
    return slot.item != 0 ? &items_[slot.item - 1].entry : nullptr;
}

ConfigEntryT& ConfigTable::findOrAdd(std::string_view key, bool& isNew)
{
    if (slots_.size() * 3 / 4 <= items_.size())
        resizeSlots(std::max<std::size_t>(16, 2 * slots_.size()));
    const std::uint32_t hash = hashOf(key);
    Slot& slot = slots_[slotOf(key, hash)];
    isNew = slot.item == 0;
    if (isNew)
    {
        isInOrder_ = isInOrder_ && (items_.empty() || Mw::caseless::isBefore(items_.back().key, key));
        items_.push_back({keys_.add(key), {}});
        slot = {hash, static_cast<std::uint32_t>(items_.size())};
    }
    return items_[slot.item - 1].entry;
}

void ConfigTable::reserve(std::size_t count)
{
    items_.reserve(count);
    if (slots_.size() * 3 / 4 < count)
        resizeSlots(std::bit_ceil(count / 3 * 4 + 4));
}

void ConfigTable::resizeSlots(std::size_t count)
{
    std::vector<Slot> old(count);
    old.swap(slots_);
    const std::size_t mask = slots_.size() - 1;
    for (const Slot& slot : old)
    {
        if (slot.item == 0)
            continue;
        std::size_t at = slot.hash & mask;
        while (slots_[at].item != 0)
            at = (at + 1) & mask;
        slots_[at] = slot;
    }
}

// Those behind it that were pushed on by it, or by one that moves now, move up.
void ConfigTable::freeSlot(std::size_t slot) noexcept
{
    const std::size_t mask = slots_.size() - 1;
    for (std::size_t next = (slot + 1) & mask; slots_[next].item != 0; next = (next + 1) & mask)
    {
        const std::size_t home = slots_[next].hash & mask;
        if (((next - home) & mask) < ((next - slot) & mask))
            continue;
        slots_[slot] = slots_[next];
        slot = next;
    }
    slots_[slot] = {};
}

bool ConfigTable::remove(std::string_view key)
{
    if (items_.empty())
        return false;
    const std::size_t slot = slotOf(key, hashOf(key));
    const std::uint32_t removed = slots_[slot].item;
    if (removed == 0)
        return false;
    freeSlot(slot);
    if (removed != items_.size())
    {
        // The last one takes its place.
        slots_[slotOf(items_.back().key, hashOf(items_.back().key))].item = removed;
        items_[removed - 1] = std::move(items_.back());
        isInOrder_ = false;
    }
    items_.pop_back();
    if (++removed_ > items_.size() + 100)
        *this = ConfigTable(*this);
    return true;
}

std::vector<const ConfigTable::Item*> ConfigTable::inOrder() const
{
    std::vector<const Item*> order;
    order.reserve(items_.size());
    for (const Item& item : items_)
        order.push_back(&item);
    std::sort(order.begin(), order.end(),
              [](const Item* a, const Item* b) { return Mw::caseless::isBefore(a->key, b->key); });
    return order;
}
