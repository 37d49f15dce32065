// Area values: what it costs to write to a value that others follow.
//
// Workload: a number that changes with every write. Each client reads the new value from where it is kept and
// adds it to a sum of its own. Everything is on one thread.

#include "bench/values.h"

#include "bench/harness/Keep.h"
#include "bench/harness/Registry.h"
#include "bench/limits/limits.h"
#include "misc/notify/ValClient.h"

#include <memory>
#include <vector>

namespace
{

using namespace bench::values;

class Follower : public ValClient<int>
{
public:
    using ValClient<int>::ValClient;
    void valChangedNtfy() override { sum_ += static_cast<unsigned>(getServerValue()); }

private:
    unsigned sum_ = 0;
};

struct Value
{
    ValServer<int> server{0};
    std::vector<std::unique_ptr<Follower>> clients;

    explicit Value(int count)
    {
        while (count-- != 0)
            clients.push_back(std::make_unique<Follower>(&server));
    }
};

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        registry.declare({cases[0].name,
                          "Writes to a value that nobody follows; the limit stores it and tests for clients, without a "
                          "look at the server's class and manager.",
                          {{1.0, "QProperty"}, {4.0, bench::theLimit}}});
        registry.declare({cases[1].name, "Writes to a value that one client follows.", {{1.0, bench::bestPeer}}});
        registry.declare({cases[2].name, "Writes to a value that ten clients follow.", {{1.0, bench::bestPeer}}});

        static int stored = 0;
        static void* clients = nullptr;
        registry.add(cases[0].name, {bench::Role::limit, "store and test",
                                     [](std::size_t count) { limit_store_and_test(&stored, &clients, count); }});
        for (const Watched& watched : cases)
            registry.ours(watched.name, [value = std::make_shared<Value>(watched.clients), next = 0]() mutable
                          { value->server = ++next; });
    });

} // namespace
