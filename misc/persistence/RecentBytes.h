#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

// The stored bytes of the objects that were read last: who lets go of an object and soon asks for it again gets
// it without a call of the system. They lie in a ring, in which new ones take the room of the oldest. One thread
// at a time.
class RecentBytes
{
public:
    static constexpr std::size_t capacityBytes = 8 * 1024 * 1024;

    // What `keep` gives for `find`; 0 stands for none.
    using Ticket = std::uint64_t;

    // Copies the bytes; of many, or without memory, gives 0 instead.
    Ticket keep(std::string_view bytes);
    // The bytes of that number, until the next `keep`; none if others have taken their room.
    std::string_view find(Ticket ticket, std::size_t lengthBytes) const noexcept
    {
        return end_ - ticket <= capacityBytes ? std::string_view(room_.get() + ticket % capacityBytes, lengthBytes)
                                              : std::string_view();
    }

private:
    // More would take too much of the room.
    static constexpr std::size_t largestKeptBytes = capacityBytes / 64;

    std::unique_ptr<char[]> room_; // made with the first bytes
    // Where the next bytes go, in a row that goes round the room and never ends. What lies at most one room
    // before it is still there; a ticket is such a place.
    std::uint64_t end_ = 2 * capacityBytes;
};
