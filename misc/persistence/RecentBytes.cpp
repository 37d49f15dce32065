#include "misc/persistence/RecentBytes.h"

#include <algorithm>

RecentBytes::Ticket RecentBytes::keep(std::string_view bytes)
{
    if (bytes.size() > largestKeptBytes)
        return 0;
    if (!room_)
        room_ = std::make_unique_for_overwrite<char[]>(capacityBytes);
    if (const std::size_t left = capacityBytes - end_ % capacityBytes; left < bytes.size())
        end_ += left;
    const Ticket ticket = end_;
    std::copy(bytes.begin(), bytes.end(), room_.get() + ticket % capacityBytes);
    end_ += bytes.size();
    return ticket;
}
