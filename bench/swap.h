#pragma once

// What the cases of swap tables share: 100,000 objects (bench/objects.h) by id in files on the disk that the
// program stands on, and for the peers the same object, its bytes, and the same index of handles.
//
// Each side is used as a careful program would. All walk an index of handles, pack each object through a virtual
// function and write a new file in the place of an old one:
//
//     ours         27 MB: each object with its names, id, kind and sizes; beside the old file, then renamed
//     QDataStream  21 MB: one record for each object, then the place of each; beside the old file, then renamed
//     LMDB         21 MB: one transaction that appends in the order of ids; the old file is removed first
//     SQLite       23 MB: one transaction of a table without row ids; the old file is removed first
//     LevelDB      20 MB: one batch, which is the log; the old folder is removed first
//
// "LMDB in place" keeps its environment open, and empties and fills the database in one transaction. To the disk
// ours and QDataStream flush the file, and ours its folder; the others do what they do by default. Readers make
// the objects of their classes and the whole index. LMDB reads out of a map of the file, the others copy. The
// 10,000 objects come round again: ours finds their bytes among those that it read last, LMDB in the map's pages,
// SQLite in its cache.

#include "bench/harness/Folder.h"
#include "bench/objects.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <map>
#include <memory>
#include <numeric>
#include <random>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include <unistd.h>

namespace bench::swap
{

using objects::Fields;
using objects::objectCount;

inline constexpr const char* flushCase = "objects/flush of 100,000 without sync";
inline constexpr const char* syncCase = "objects/flush of 100,000 to the disk";
inline constexpr const char* openCase = "objects/openSwap of 100,000";
inline constexpr const char* demandCase = "objects/demand one of 10,000 at random";
inline constexpr const char* carryCase = "objects/flush with 1 in 100 in memory";
inline constexpr const char* destroyCase = "objects/intern and destroyMarker of 100,000 at random";
inline constexpr const char* memoryCase = "objects/memory of 100,000 displaced markers";

inline constexpr unsigned demandCount = 10'000;

// Beside the program, removed at the end.
inline const Folder& folder()
{
    static const Folder made(std::filesystem::read_symlink("/proc/self/exe").parent_path());
    return made;
}

// The numbers of so many objects in random order.
inline std::vector<unsigned> anyOrder(unsigned count)
{
    std::vector<unsigned> order(objectCount);
    std::iota(order.begin(), order.end(), 0u);
    std::shuffle(order.begin(), order.end(), std::mt19937(17));
    order.resize(count);
    return order;
}

// An id of 12 bytes whose order as bytes is that of the objects.
using Id = std::array<unsigned char, 12>;
inline Id idOf(unsigned index)
{
    Id id = {0, 0, 0, 5, 0x3b, 0x19, 0xa8, 0x97};
    for (unsigned i = 0; i < 4; ++i)
        id[8 + i] = static_cast<unsigned char>(index >> (24 - 8 * i));
    return id;
}

// The object as a peer's user writes it: two classes, and before the fields the name of the class, by which the
// reader makes the object.
class Shot
{
public:
    Shot() = default;
    explicit Shot(const Fields& fields) : numbers_(fields.numbers), identity_(fields.identity), name_(fields.name) {}
    virtual ~Shot() = default;

    virtual std::string_view className() const { return "Shot"; }
    // Appends the bytes, and reads them.
    virtual void pack(std::string& bytes) const
    {
        add(bytes, &numbers_, sizeof numbers_);
        add(bytes, &identity_, sizeof identity_);
        addText(bytes, name_);
    }
    virtual void unpack(std::string_view& bytes)
    {
        take(bytes, &numbers_, sizeof numbers_);
        take(bytes, &identity_, sizeof identity_);
        name_ = takeText(bytes);
    }

    static void add(std::string& bytes, const void* from, std::size_t size)
    {
        bytes.append(static_cast<const char*>(from), size);
    }
    static void addText(std::string& bytes, std::string_view text)
    {
        const auto length = static_cast<std::uint32_t>(text.size());
        add(bytes, &length, sizeof length);
        bytes += text;
    }
    static void take(std::string_view& bytes, void* to, std::size_t size)
    {
        std::memcpy(to, bytes.data(), size);
        bytes.remove_prefix(size);
    }
    static std::string_view takeText(std::string_view& bytes)
    {
        std::uint32_t length = 0;
        take(bytes, &length, sizeof length);
        const std::string_view text = bytes.substr(0, length);
        bytes.remove_prefix(length);
        return text;
    }

private:
    decltype(Fields::numbers) numbers_ = {};
    decltype(Fields::identity) identity_ = {};
    std::string name_;
};

class TitledShot : public Shot
{
public:
    TitledShot() = default;
    explicit TitledShot(const Fields& fields) : Shot(fields), curve_(fields.curve), note_(fields.note) {}

    std::string_view className() const override { return "TitledShot"; }
    void pack(std::string& bytes) const override
    {
        Shot::pack(bytes);
        add(bytes, &curve_, sizeof curve_);
        addText(bytes, note_);
    }
    void unpack(std::string_view& bytes) override
    {
        Shot::unpack(bytes);
        take(bytes, &curve_, sizeof curve_);
        note_ = takeText(bytes);
    }

private:
    decltype(Fields::curve) curve_ = {};
    std::string note_;
};

inline void packShot(std::string& bytes, const Shot& shot)
{
    bytes.clear();
    Shot::addText(bytes, shot.className());
    shot.pack(bytes);
}

inline std::shared_ptr<Shot> readShot(std::string_view bytes)
{
    using Build = std::shared_ptr<Shot> (*)();
    static const std::unordered_map<std::string_view, Build> builders = {
        {"Shot", [] { return std::make_shared<Shot>(); }},
        {"TitledShot", []() -> std::shared_ptr<Shot> { return std::make_shared<TitledShot>(); }}};
    std::shared_ptr<Shot> shot = builders.at(Shot::takeText(bytes))();
    shot->unpack(bytes);
    return shot;
}

// What a table is to a peer: handles in order and by id, with their objects.
struct Handle
{
    Id id;
    std::shared_ptr<Shot> shot;
};
struct Index
{
    void add(const Id& id, std::shared_ptr<Shot> shot)
    {
        handles.push_back(std::make_shared<Handle>(Handle{id, std::move(shot)}));
        byId.emplace_hint(byId.end(), id, handles.back());
    }
    // What was stored.
    void add(std::string_view id, std::string_view bytes)
    {
        Id key;
        std::memcpy(key.data(), id.data(), key.size());
        add(key, readShot(bytes));
    }

    std::vector<std::shared_ptr<Handle>> handles;
    std::map<Id, std::shared_ptr<Handle>> byId;
};

// All objects.
inline const Index& shots()
{
    static const Index made = []
    {
        Index all;
        for (unsigned i = 0; i < objectCount; ++i)
            all.add(idOf(i), std::make_shared<TitledShot>(objects::fieldsOf(i)));
        return all;
    }();
    return made;
}

} // namespace bench::swap
