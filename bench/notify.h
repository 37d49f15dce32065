#pragma once

#include <cstddef>
#include <string>

// The cases of area notify, for the files that add peers to them.

namespace bench::notify
{

// Issuing, to so many clients.
inline constexpr int issueCounts[] = {1, 10, 100};
inline std::string eventCase(int clients)
{
    return "notify/issue an event to " + std::to_string(clients);
}
inline std::string messageCase(int clients)
{
    return "notify/issue a message to " + std::to_string(clients);
}
inline std::string walkCase(int clients)
{
    return "notify/walk over " + std::to_string(clients);
}

// Registering and releasing a client, among so many others.
inline constexpr int registeredCounts[] = {0, 100};
inline std::string registerCase(int others)
{
    return "notify/register and release among " + std::to_string(others);
}

// A client on every side: its handlers aren't inlined, as those of an application would not be.
struct Client
{
    long sum = 0;

    template <class Event>
    [[gnu::noinline]] int takeEvent(const Event& event)
    {
        asm volatile("" : : "r"(&event) : "memory");
        sum += event.value;
        return 0;
    }
    template <class Message>
    [[gnu::noinline]] int takeMessage(const Message& message)
    {
        asm volatile("" : : "r"(&message) : "memory");
        ++sum;
        return 0;
    }
};

// One that stays for the whole run.
inline Client& newClient()
{
    return *new Client;
}

// What the peers issue for an event.
struct Event
{
    int type;
    const void* source;
    int value;
};

} // namespace bench::notify
