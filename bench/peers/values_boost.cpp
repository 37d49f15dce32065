// A number with a boost::signals2::signal beside it.

#include "bench/harness/Keep.h"
#include "bench/harness/Registry.h"
#include "bench/values.h"

#include <boost/signals2/signal.hpp>

#include <memory>
#include <vector>

namespace
{

using namespace bench::values;

struct Value
{
    int value = 0;
    boost::signals2::signal<void()> changed;
    std::vector<unsigned> sums;

    explicit Value(int count) : sums(static_cast<std::size_t>(count))
    {
        for (unsigned& sum : sums)
            changed.connect([this, &sum] { sum += static_cast<unsigned>(value); });
    }

    void set(int newValue)
    {
        value = newValue;
        changed();
    }
};

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        for (const Watched& watched : cases)
            registry.peer(watched.name, "boost::signals2",
                          [value = std::make_shared<Value>(watched.clients), next = 0]() mutable
                          { value->set(++next); });
    });

} // namespace
