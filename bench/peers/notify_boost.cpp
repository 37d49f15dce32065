// boost::signals2 as it comes, safe between threads. Its messages are shared pointers to a text.

#include "bench/harness/Keep.h"
#include "bench/harness/Registry.h"
#include "bench/notify.h"

#include <boost/signals2/signal.hpp>

#include <memory>
#include <string>

namespace
{

using namespace bench::notify;

using Message = std::shared_ptr<const std::string>;
using EventSignal = boost::signals2::signal<void(const Event&)>;
using MessageSignal = boost::signals2::signal<void(const Message&)>;

EventSignal* eventSignal(int count)
{
    auto* const signal = new EventSignal;
    for (int i = 0; i < count; ++i)
        signal->connect([&client = newClient()](const Event& event) { client.takeEvent(event); });
    return signal;
}

MessageSignal* messageSignal(int count)
{
    auto* const signal = new MessageSignal;
    for (int i = 0; i < count; ++i)
        signal->connect([&client = newClient()](const Message& message) { client.takeMessage(message); });
    return signal;
}

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        const char* const name = "boost::signals2";
        for (const int count : issueCounts)
        {
            for (const std::string& caseName : {eventCase(count), walkCase(count)})
                registry.peer(caseName, name,
                              [signal = eventSignal(count), number = 0]() mutable {
                                  (*signal)({2, nullptr, ++number});
                              });
            registry.peer(messageCase(count), name,
                          [signal = messageSignal(count), message = std::make_shared<const std::string>("changed")]
                          { (*signal)(message); });
        }
        for (const int others : registeredCounts)
            registry.peer(registerCase(others), name,
                          [signal = eventSignal(others), &client = newClient()]
                          {
                              const boost::signals2::scoped_connection connection =
                                  signal->connect([&client](const Event& event) { client.takeEvent(event); });
                          });
    });

} // namespace
