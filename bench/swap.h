#pragma once

// What the cases of swap tables share: 100,000 objects (bench/objects.h) by id in files on the disk that the
// program stands on, and for the peers the same object, its bytes, and the same index of handles.

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
class Folder
{
public:
    Folder()
    {
        std::string path = std::filesystem::read_symlink("/proc/self/exe").parent_path() / "mwbench-XXXXXX";
        path_ = ::mkdtemp(path.data()) != nullptr ? path : ".";
    }
    ~Folder()
    {
        if (path_ != ".")
            std::filesystem::remove_all(path_);
    }
    std::string operator/(const char* name) const { return path_ / name; }

private:
    std::filesystem::path path_;
};
inline const Folder& folder()
{
    static const Folder made;
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

// The object as a peer's user writes it.
class Shot
{
public:
    explicit Shot(const Fields& fields) : fields_(fields) {}
    explicit Shot(std::string_view bytes)
    {
        take(bytes, &fields_.numbers, sizeof fields_.numbers);
        take(bytes, &fields_.identity, sizeof fields_.identity);
        take(bytes, &fields_.curve, sizeof fields_.curve);
        takeText(bytes, fields_.name);
        takeText(bytes, fields_.note);
    }
    virtual ~Shot() = default;

    // Appends the bytes.
    virtual void pack(std::string& bytes) const
    {
        add(bytes, &fields_.numbers, sizeof fields_.numbers);
        add(bytes, &fields_.identity, sizeof fields_.identity);
        add(bytes, &fields_.curve, sizeof fields_.curve);
        addText(bytes, fields_.name);
        addText(bytes, fields_.note);
    }

private:
    static void add(std::string& bytes, const void* from, std::size_t size)
    {
        bytes.append(static_cast<const char*>(from), size);
    }
    static void addText(std::string& bytes, const std::string& text)
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
    static void takeText(std::string_view& bytes, std::string& text)
    {
        std::uint32_t length = 0;
        take(bytes, &length, sizeof length);
        text = bytes.substr(0, length);
        bytes.remove_prefix(length);
    }

    Fields fields_;
};

inline const std::vector<std::shared_ptr<Shot>>& shots()
{
    static const std::vector<std::shared_ptr<Shot>> made = []
    {
        std::vector<std::shared_ptr<Shot>> all;
        for (unsigned i = 0; i < objectCount; ++i)
            all.push_back(std::make_shared<Shot>(objects::fieldsOf(i)));
        return all;
    }();
    return made;
}

// What a table is to a peer: handles in order and by id, with their objects.
struct Handle
{
    Id id;
    std::shared_ptr<Shot> shot;
};
struct Index
{
    void add(std::string_view id, std::string_view bytes)
    {
        Id key;
        std::memcpy(key.data(), id.data(), key.size());
        handles.push_back(std::make_shared<Handle>(Handle{key, std::make_shared<Shot>(bytes)}));
        byId.emplace_hint(byId.end(), key, handles.back());
    }

    std::vector<std::shared_ptr<Handle>> handles;
    std::map<Id, std::shared_ptr<Handle>> byId;
};

} // namespace bench::swap
