#pragma once

#include "examples/editsession/Text.h"

#include <cstdint>
#include <cstdio>

// Tells on a stream how far some work is: percent, frames a second, time left. On a terminal it is one line that is
// drawn anew and goes in the end; elsewhere it is a line of its own for each tenth of the work.
class ProgressLine
{
public:
    // `title` names the work; the time runs from now.
    ProgressLine(std::FILE* stream, const char* title, std::int64_t frames);
    ~ProgressLine();
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

    // Of the work, from 0 to 1.
    void show(double done);

private:
    Text text(double done) const;

    std::FILE* const stream_;
    const char* const title_;
    const std::int64_t frames_;
    const bool isTerminal_;
    const double startMs_;
    int tenthsShown_ = -1;
};
