#pragma once

// What the sides of the area values share: the cases, and how many clients each has.

namespace bench::values
{

struct Watched
{
    const char* name;
    int clients;
};

constexpr Watched cases[] = {
    {"values/set without clients", 0}, {"values/set, 1 client", 1}, {"values/set, 10 clients", 10}};

} // namespace bench::values
