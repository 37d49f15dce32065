// std::shared_ptr, made by make_shared.

#include "bench/harness/Keep.h"
#include "bench/harness/Registry.h"

#include <memory>

namespace
{

struct Shape
{
    virtual ~Shape() = default;
    long payload_ = 1;
};

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        static const std::shared_ptr<Shape> shared = std::make_shared<Shape>();
        static std::shared_ptr<Shape> null;

        const auto copy = []
        {
            std::shared_ptr<Shape> copy(shared);
            bench::keep(copy);
        };
        registry.peer("handles/copy and drop", "std::shared_ptr", copy);
        registry.peer("handles/copy and drop, 2 threads", "std::shared_ptr", copy);
        registry.peer("handles/null", "std::shared_ptr",
                      []
                      {
                          std::shared_ptr<Shape> copy(null);
                          bench::keep(copy);
                      });
    });

} // namespace
