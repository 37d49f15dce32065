#pragma once

#include "Mw/LightweightString.h"
#include "Mw/iObject.h"
#include "misc/threads/ProgressReportClient.h"

#include <vector>

// What a task says of its work: lines for people, and its progress. It may outlive the task. Any thread.
class MISC_API iTaskLog : public virtual iObject, public ProgressReportClient
{
public:
    struct Line
    {
        double time = 0; // seconds since the start of 1970, UTC
        LightweightString<char> text;
    };

    // Takes the text, without a new line at its end, with the time of now.
    virtual void addLine(const LightweightString<char>& text) = 0;

    // All lines in the order in which they came.
    virtual std::vector<Line> getLines() const = 0;
};

// A log in memory.
class MISC_API TaskLog : public iTaskLog
{
public:
    void addLine(const LightweightString<char>& text) override;
    std::vector<Line> getLines() const override;

private:
    mutable CriticalSection lock_{"task log"};
    std::vector<Line> lines_;
};
