#include "misc/persistence/RecentBytes.h"

#include <algorithm>
#include <new>

RecentBytes::Ticket RecentBytes::keep(std::string_view bytes)
{
    if (bytes.size() > largestKeptBytes)
        return 0;
    // They only save time: where there is no room for them, the file has them.
    if (!room_)
        room_.reset(new (std::nothrow) char[capacityBytes]);
    if (!room_)
        return 0;
    if (const std::size_t left = capacityBytes - end_ % capacityBytes; left < bytes.size())
        end_ += left;
    const Ticket ticket = end_;
    std::copy(bytes.begin(), bytes.end(), room_.get() + ticket % capacityBytes);
    end_ += bytes.size();
    return ticket;
}
