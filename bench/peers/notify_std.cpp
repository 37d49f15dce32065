// A vector of std::function under a recursive mutex, walked as it stands: clients may not come or go
// meanwhile. For messages, with a counted handle more: the copy that outlives the walk.

#include "bench/harness/Keep.h"
#include "bench/harness/Registry.h"
#include "bench/limits/limits.h"
#include "bench/notify.h"

#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace
{

using namespace bench::notify;

struct Message
{
    const std::string* text;
    int type;
};

template <class Argument>
class Publisher
{
public:
    using Handler = std::function<int(const Argument&)>;

    template <class MakeHandler>
    Publisher(int count, MakeHandler makeHandler)
    {
        for (int i = 0; i < count; ++i)
            handlers_.push_back(makeHandler(clients_.emplace_back()));
    }
    void issue(const Argument& argument)
    {
        const std::lock_guard lock(mutex_);
        for (const Handler& handler : handlers_)
            handler(argument);
    }
    void add(Handler handler)
    {
        const std::lock_guard lock(mutex_);
        handlers_.push_back(std::move(handler));
    }
    void removeLast()
    {
        const std::lock_guard lock(mutex_);
        handlers_.pop_back();
    }

private:
    std::recursive_mutex mutex_;
    std::deque<Client> clients_;
    std::vector<Handler> handlers_;
};

Publisher<Event>::Handler eventHandler(Client& client)
{
    return [&client](const Event& event) { return client.takeEvent(event); };
}

Publisher<Message>::Handler messageHandler(Client& client)
{
    return [&client](const Message& message) { return client.takeMessage(message); };
}

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        for (const int count : issueCounts)
        {
            auto* const events = new Publisher<Event>(count, eventHandler);
            registry.peer(eventCase(count), "vector",
                          [events, number = 0]() mutable {
                              bench::hidden(events)->issue({2, nullptr, ++number});
                          });

            static const std::string text = "changed";
            static int references = 1;
            auto* const messages = new Publisher<Message>(count, messageHandler);
            registry.peer(messageCase(count), "vector and a handle",
                          [messages]
                          {
                              bench::hidden(messages)->issue({&text, 2});
                              limit_atomic_pair(&references, 1);
                          });
        }
        for (const int others : registeredCounts)
        {
            auto* const events = new Publisher<Event>(others, eventHandler);
            static Client client;
            registry.peer(registerCase(others), "vector",
                          [events]
                          {
                              events->add(eventHandler(client));
                              events->removeLast();
                          });
        }
    });

} // namespace
