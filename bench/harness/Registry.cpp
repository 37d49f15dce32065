#include "bench/harness/Registry.h"

#include <algorithm>

namespace bench
{

void Registry::declare(Case description)
{
    cases_.push_back(std::move(description));
}

void Registry::add(const std::string& caseName, Side side)
{
    sides_.emplace_back(caseName, std::move(side));
}

std::vector<Case> Registry::select(const std::string& filter) const
{
    const bool isArea =
        std::any_of(cases_.begin(), cases_.end(), [&](const Case& each) { return each.area() == filter; });
    std::vector<Case> selected;
    for (const Case& each : cases_)
    {
        if (isArea ? each.area() != filter : each.name.find(filter) == std::string::npos)
            continue;
        Case& chosen = selected.emplace_back(each);
        for (const auto& [caseName, side] : sides_)
            if (caseName == each.name)
                chosen.sides.push_back(side);
    }
    return selected;
}

namespace
{

// Made on first use: registrations are static objects of other files.
std::vector<Registration::Function>& functions()
{
    static std::vector<Registration::Function> all;
    return all;
}

} // namespace

Registration::Registration(Function function)
{
    functions().push_back(function);
}

Registry Registration::registerAll()
{
    Registry registry;
    for (const Function function : functions())
        function(registry);
    return registry;
}

} // namespace bench
