#pragma once

#include <cstdio>

// What the session asks the system about who sits in front of it.

bool isTerminal(std::FILE* stream);

// While one of these stands, Ctrl-C is noted and the program goes on, to end in good order; a second one ends it at
// once. Where Ctrl-C was ignored before, it stays so. One at a time.
class InterruptWatch
{
public:
    InterruptWatch();
    ~InterruptWatch();
    InterruptWatch(const InterruptWatch&) = delete;
    InterruptWatch& operator=(const InterruptWatch&) = delete;

    // Whether Ctrl-C came since the watch began.
    bool interrupted() const;
};
