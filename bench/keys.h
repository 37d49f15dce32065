#pragma once

#include <cstddef>
#include <iterator>

// What the rows of area keys that deal with texts and changes are given, the same for all sides: keys as users of an
// editor bind them.

namespace bench::keys
{

struct Key
{
    int code;
    const char* text; // as everybody reads it
};

inline constexpr Key shownKeys[] = {{0x02000043, "Ctrl+C"},
                                    {0x03000053, "Ctrl+Shift+S"},
                                    {0x0800003F, "F5"},
                                    {0x0C000047, "Alt+Home"},
                                    {'J', "J"},
                                    {0x06000058, "Ctrl+Alt+X"},
                                    {0x01000009, "Shift+Tab"},
                                    {0x0A000049, "Ctrl+PgUp"}};

// In the short form of stored mappings.
inline constexpr Key readKeys[] = {{0x02000043, "Ctrl+C"},     {0x03000053, "Ctrl+Shift+S"}, {'J', "J"},
                                   {0x06000058, "Ctrl+Alt+X"}, {0x01000050, "Shift+P"},      {0x02000031, "Ctrl+1"}};

inline constexpr const char* showCase = "keys/keycodeToString";
inline constexpr const char* readCase = "keys/stringToKeycode";
inline constexpr const char* changeCase = "keys/one change, stored";

// How many differences the user has stored beside the one that comes and goes.
inline constexpr int storedDifferences = 500;

// Goes through an array again and again.
template <class T>
class Round
{
public:
    template <std::size_t count>
    explicit Round(const T (&items)[count]) : items_(items), count_(count)
    {
    }
    const T& next()
    {
        at_ = at_ + 1 < count_ ? at_ + 1 : 0;
        return items_[at_];
    }

private:
    const T* items_;
    std::size_t count_;
    std::size_t at_ = 0;
};

} // namespace bench::keys
