#pragma once

#include "bench/harness/Keep.h"
#include "bench/harness/Registry.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <string>

// The same three cases for all sides: a side is no more than a way to take an object and to give it back.

namespace bench::pool
{

inline constexpr const char* alone = "pool/new and delete";
inline constexpr const char* batch = "pool/new and delete, 64 at once";
inline constexpr const char* handedOver = "pool/new and delete, handed over";

inline constexpr std::size_t objectBytes = 48;
inline constexpr std::size_t batchSize = 64;

// Objects on their way from one thread to the other.
struct Crate
{
    std::array<void*, batchSize> objects;
    std::size_t count = 0;
};

// Fills a crate, lays it down where the other thread looks for one, and gives back what it finds there itself.
template <class Take, class Give>
void handOver(std::atomic<Crate*>& place, Take take, Give give, std::size_t objects)
{
    const auto empty = [&](Crate& crate)
    {
        for (; crate.count != 0; --crate.count)
            give(crate.objects[crate.count - 1]);
    };
    Crate* crate = new Crate;
    for (; objects >= batchSize; objects -= batchSize)
    {
        while (crate->count < batchSize)
            crate->objects[crate->count++] = take();
        crate = place.exchange(crate);
        if (crate == nullptr)
            crate = new Crate;
        empty(*crate);
    }
    delete crate;
}

template <class Take, class Give>
void add(Registry& registry, Role role, const char* name, Take take, Give give)
{
    registry.add(alone, {role, name,
                         [=](std::size_t count)
                         {
                             for (; count != 0; --count)
                             {
                                 void* object = take();
                                 keep(object);
                                 give(object);
                             }
                         }});
    registry.add(batch, {role, name,
                         [=](std::size_t count)
                         {
                             std::array<void*, batchSize> objects;
                             for (; count >= batchSize; count -= batchSize)
                             {
                                 for (void*& object : objects)
                                     object = take();
                                 keep(objects);
                                 for (void* object : objects)
                                     give(object);
                             }
                         }});
    registry.add(handedOver, {role, name,
                              [=](std::size_t count)
                              {
                                  static std::atomic<Crate*> place{nullptr};
                                  handOver(place, take, give, count);
                              }});
}

} // namespace bench::pool
