// boost::intrusive_ptr with boost's own thread-safe counter.

#include "bench/harness/Keep.h"
#include "bench/harness/Registry.h"

#include <boost/smart_ptr/intrusive_ptr.hpp>
#include <boost/smart_ptr/intrusive_ref_counter.hpp>

namespace
{

struct Counted : boost::intrusive_ref_counter<Counted, boost::thread_safe_counter>
{
    virtual ~Counted() = default;
};

struct Object : virtual Counted
{
};

struct Shape : Object
{
    long payload_ = 1;
};

struct Circle : Shape
{
};

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        using Handle = boost::intrusive_ptr<Shape>;
        static const Handle shared(new Circle);

        const auto copy = []
        {
            Handle copy(shared);
            bench::keep(copy);
        };
        registry.peer("handles/copy and drop", "boost::intrusive_ptr", copy);
        registry.peer("handles/copy and drop, 2 threads", "boost::intrusive_ptr", copy);
        registry.peer("handles/make and drop", "boost::intrusive_ptr",
                      []
                      {
                          Handle made(new Shape);
                          bench::keep(made);
                      });
        registry.peer("handles/dynamicCast", "boost::intrusive_ptr",
                      []
                      {
                          boost::intrusive_ptr<Circle> cast = boost::dynamic_pointer_cast<Circle>(shared);
                          bench::keep(cast);
                      });
    });

} // namespace
