#pragma once

#include <string>
#include <vector>

// What the rows of area keys that run commands are given, the same for all sides: 2,000 commands of an application's
// modules, each with one key.

namespace bench::keys
{

struct Command
{
    std::string name;
    int key;
};

// In no order.
const std::vector<Command>& commands();

// The keys of commands in no order, but for those that the stored differences take away; and as many that nothing
// takes.
const std::vector<int>& boundKeys();
const std::vector<int>& freeKeys();

// 500 stored differences: a name, and whether it adds a key or takes one away.
struct Difference
{
    std::string name;
    bool adds;
};
const std::vector<Difference>& differences();

inline constexpr const char* boundCase = "keys/tryKey of a bound key";
inline constexpr const char* freeCase = "keys/tryKey of a key that nothing takes";
inline constexpr const char* startCase = "keys/start with 2,000 commands";

// Goes over the codes again and again.
class Presses
{
public:
    explicit Presses(const std::vector<int>& codes) : codes_(codes) {}
    int next()
    {
        at_ = at_ + 1 < codes_.size() ? at_ + 1 : 0;
        return codes_[at_];
    }

private:
    const std::vector<int>& codes_;
    std::size_t at_ = 0;
};

} // namespace bench::keys
