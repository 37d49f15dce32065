// QProperty and QObjectBindableProperty, whose clients are change handlers.

#include "bench/harness/Keep.h"
#include "bench/harness/Registry.h"
#include "bench/values.h"

#include <QObject>
#include <QProperty>

#include <functional>
#include <memory>
#include <vector>

namespace
{

using namespace bench::values;

struct Plain
{
    QProperty<int> value{0};
};

class Owner : public QObject
{
public:
    Q_OBJECT_BINDABLE_PROPERTY_WITH_ARGS(Owner, int, value, 0)
};

// A property and the handlers of its clients, each with a sum of its own.
template <class Holder>
struct Value
{
    struct Follower
    {
        Holder* holder;
        unsigned* sum;
        void operator()() const { *sum += static_cast<unsigned>(holder->value.value()); }
    };

    Holder holder;
    std::vector<unsigned> sums;
    std::vector<QPropertyChangeHandler<Follower>> handlers;

    explicit Value(int count) : sums(static_cast<std::size_t>(count))
    {
        handlers.reserve(sums.size());
        for (unsigned& sum : sums)
            handlers.push_back(holder.value.onValueChanged(Follower{&holder, &sum}));
    }
};

template <class Holder>
void add(bench::Registry& registry, const char* name)
{
    for (const Watched& watched : cases)
        registry.peer(watched.name, name,
                      [value = std::make_shared<Value<Holder>>(watched.clients), next = 0]() mutable
                      { value->holder.value = ++next; });
}

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        add<Plain>(registry, "QProperty");
        add<Owner>(registry, "QObjectBindableProperty");
    });

} // namespace
