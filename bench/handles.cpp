// Area handles: what every counted handle of the library costs.
//
// Workload: objects of 8 bytes of payload that derive from a class with a virtual destructor and the
// count in a virtual base, on both sides. Copies are made of a handle that lives on, so none of them is
// the last one; with two threads both copy handles to one object.

#include "Mw/Ptr.h"
#include "bench/harness/Keep.h"
#include "bench/harness/Registry.h"
#include "bench/limits/limits.h"

namespace
{

class Shape : public iObject
{
public:
    long payload_ = 1;
};

class Circle : public Shape
{
};

void declare(bench::Registry& registry)
{
    registry.declare({"handles/copy and drop",
                      "Copies a handle to an object that others hold too, and drops the copy.",
                      {{1.05, bench::theLimit}}});
    registry.declare({"handles/copy and drop, 2 threads",
                      "The same on two threads at once, whose handles share one object.",
                      {{1.05, bench::theLimit}},
                      2});
    registry.declare(
        {"handles/null", "Copies a handle that holds nothing, and drops the copy.", {{1.0, bench::bestPeer}}});
    registry.declare({"handles/make and drop",
                      "Makes an object in its first handle, and drops the handle, which destroys it.",
                      {{1.0, bench::bestPeer}}});
    registry.declare({"handles/dynamicCast",
                      "Casts a handle of a base to one of the object's class, and drops the result.",
                      {{1.0, bench::bestPeer}}});
}

void addLimits(bench::Registry& registry)
{
    static int count = 1;
    for (const char* name : {"handles/copy and drop", "handles/copy and drop, 2 threads"})
        registry.add(name, {bench::Role::limit, "bare atomic pair",
                            [](std::size_t operations) { limit_atomic_pair(&count, operations); }});
}

void addOurs(bench::Registry& registry)
{
    static const Mw::Ptr<Shape> shared(new Circle);
    static Mw::Ptr<Shape> null;

    const auto copy = []
    {
        Mw::Ptr<Shape> copy(shared);
        bench::keep(copy);
    };
    registry.ours("handles/copy and drop", copy);
    registry.ours("handles/copy and drop, 2 threads", copy);
    registry.ours("handles/null",
                  []
                  {
                      Mw::Ptr<Shape> copy(null);
                      bench::keep(copy);
                  });
    registry.ours("handles/make and drop",
                  []
                  {
                      Mw::Ptr<Shape> made(new Shape);
                      bench::keep(made);
                  });
    registry.ours("handles/dynamicCast",
                  []
                  {
                      Mw::Ptr<Circle> cast = Mw::dynamicCast<Circle>(shared);
                      bench::keep(cast);
                  });
}

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        declare(registry);
        addLimits(registry);
        addOurs(registry);
    });

} // namespace
