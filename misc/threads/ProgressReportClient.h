#pragma once

#include "OS/Export.h"
#include "libmw/CriticalSection.h"

#include <cstddef>
#include <vector>

// The progress of a piece of work, as one figure. The work is divided into sub-tasks, each with a weight: its share
// of the whole. Whoever works tells how far each of them is; whoever wants the figure asks for it. Any thread.
class MISC_API ProgressReportClient
{
public:
    // One sub-task, of which nothing is done.
    ProgressReportClient() = default;
    ProgressReportClient(const ProgressReportClient&) = delete;
    ProgressReportClient& operator=(const ProgressReportClient&) = delete;

    // Begins anew: a sub-task for each weight, numbered from 0, of which nothing is done.
    void setSubTasks(const std::vector<unsigned>& weights);

    // How much of a sub-task is done, from 0 to 1. What lies outside becomes the nearer of them, and what is no
    // number becomes 0. A sub-task that doesn't exist is ignored.
    void setProgress(std::size_t subTask, double done);

    // The shares of what is done, from 0 to 1: exactly 1 when all of it is. 0 while all weights are 0.
    double calcAggregateProgress() const;

protected:
    ~ProgressReportClient() = default;

private:
    struct SubTask
    {
        unsigned weight;
        double done;
    };

    mutable CriticalSection lock_{"progress"};
    std::vector<SubTask> subTasks_{{1, 0}};
};
