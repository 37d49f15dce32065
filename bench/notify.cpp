// Area notify: what it costs to tell clients, and to become one and to leave again.
//
// Workload: clients that add a number (events) or count (messages) in a handler of their own, told by one
// thread while a second one of the program sleeps. An event is a number with its type and source; a
// message is a counted handle to a text. The walk is measured without the lock beside virtual calls over an
// array of pointers.

#include "bench/notify.h"

#include "bench/harness/Keep.h"
#include "bench/harness/Registry.h"
#include "bench/limits/limits.h"
#include "misc/notify/Notifier.h"
#include "misc/notify/NotifierEvent.h"

#include <deque>
#include <memory>
#include <vector>

namespace
{

using namespace bench::notify;
using IntEvent = NotifierEvent<int>;

// A notifier with clients, which lives to the end of the program.
template <class Notifier, class Message, int (Client::*handler)(const Message&)>
class Stage
{
public:
    explicit Stage(int count)
    {
        for (int i = 0; i < count; ++i)
            guards_.push_back(registered());
    }

    Mw::Ptr<Mw::Guard> registered()
    {
        return notifier_.registerNotification(Mw::makePtr<BoundCallback<handler>>(&clients_.emplace_back()));
    }
    GenericNotifier<Message>& notifier() { return notifier_; }

private:
    Notifier notifier_;
    std::deque<Client> clients_;
    std::vector<Mw::Ptr<Mw::Guard>> guards_;
};

using EventStage = Stage<GenericNotifier<IntEvent>, IntEvent, &Client::takeEvent<IntEvent>>;

// A record that is called directly, for the walk alone.
struct Record : DLListRec
{
    virtual void call(int value) { client.takeEvent(IntEvent{0, nullptr, value}); }
    Client client;
};

void addIssue(bench::Registry& registry, int count)
{
    // For one client the lock decides, for a hundred the calls; between them the walk's own beginning counts.
    const double ratio = count == 10 ? 1.1 : 1.0;
    registry.declare({eventCase(count),
                      "Issues a NotifierEvent<int> to so many clients.",
                      {{ratio, "vector"}, {0.2, "boost::signals2"}}});
    // The lock and the counted handle of a message alone are a quarter of boost's call of one slot, which makes no
    // handle: to one client a fifth is out of reach.
    std::vector<bench::Aim> aims{{ratio, "vector and a handle"}};
    if (count > 1)
        aims.push_back({0.2, "boost::signals2"});
    registry.declare({messageCase(count), "Issues a NotifyMsg to so many clients.", std::move(aims)});

    auto* const events = new EventStage(count);
    registry.ours(eventCase(count),
                  [&notifier = events->notifier(), number = 0]() mutable {
                      bench::hidden(&notifier)->issueNotification(IntEvent{0, nullptr, ++number}, 2);
                  });

    auto* const messages = new Stage<Notifier, NotifyMsg, &Client::takeMessage<NotifyMsg>>(count);
    registry.ours(messageCase(count), [&notifier = messages->notifier(), message = NotifyMsg("changed", {})]
                  { bench::hidden(&notifier)->issueNotification(message, 2); });
}

void addWalk(bench::Registry& registry, int count)
{
    registry.declare(
        {walkCase(count),
         "Walks over so many records, without a lock, and calls a virtual operation of each; boost issues.",
         // The walk's own beginning and end are as much as two calls.
         {{count == 1 ? 3.0 : 1.5, bench::theLimit}, {0.2, "boost::signals2"}}});
    auto* const list = new DLList;
    auto* const records = new std::vector<Record*>;
    for (int i = 0; i < count; ++i)
    {
        records->push_back(new Record);
        list->append(records->back());
    }
    registry.ours(walkCase(count),
                  [list, number = 0]() mutable {
                      list->apply([value = ++number](DLListRec* record) { static_cast<Record*>(record)->call(value); });
                  });
    registry.add(walkCase(count), {bench::Role::limit, "virtual calls",
                                   [records, number = 0](std::size_t times) mutable
                                   {
                                       for (; times != 0; --times, ++number)
                                           for (Record* const record : *bench::hidden(records))
                                               record->call(number);
                                   }});
}

void addRegister(bench::Registry& registry, int others)
{
    registry.declare({registerCase(others),
                      "Registers a client at a notifier with so many others, and releases it.",
                      {{1.5, bench::theLimit}}});
    auto* const events = new EventStage(others);
    static Client client;
    const Mw::Ptr<iCallbackBase<int, IntEvent>> callback =
        Mw::makePtr<BoundCallback<&Client::takeEvent<IntEvent>>>(&client);
    registry.ours(registerCase(others),
                  [events, callback]
                  {
                      Mw::Ptr<Mw::Guard> guard = events->notifier().registerNotification(callback, 2);
                      bench::keep(guard);
                  });
    registry.add(registerCase(others), {bench::Role::limit, "two allocations and two locks", limit_allocate_and_lock});
}

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        for (const int count : issueCounts)
            addIssue(registry, count);
        for (const int count : issueCounts)
            addWalk(registry, count);
        for (const int others : registeredCounts)
            addRegister(registry, others);
    });

} // namespace
