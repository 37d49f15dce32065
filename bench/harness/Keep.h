#pragma once

// What keeps the optimiser from leaving out the work that is measured. Both cost no instruction beyond
// putting the value where it is asked for.

namespace bench
{

// The value is taken as read and changed by somebody else, and so is all memory that can be reached.
template <class T>
inline void keep(T& value)
{
    asm volatile("" : "+m"(value) : : "memory");
}

// A number that is read and no more.
template <class T>
inline void keepNumber(T value)
{
    asm volatile("" : : "r"(value));
}

// The same value, of which the optimiser knows nothing.
template <class T>
inline T hidden(T value)
{
    asm volatile("" : "+r"(value));
    return value;
}

} // namespace bench
