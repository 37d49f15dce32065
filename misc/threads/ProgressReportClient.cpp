#include "misc/threads/ProgressReportClient.h"

#include <algorithm>

void ProgressReportClient::setSubTasks(const std::vector<unsigned>& weights)
{
    std::vector<SubTask> subTasks;
    subTasks.reserve(weights.size());
    for (const unsigned weight : weights)
        subTasks.push_back({weight, 0});
    const CriticalSection::Lock lock(lock_);
    subTasks_.swap(subTasks);
}

void ProgressReportClient::setProgress(std::size_t subTask, double done)
{
    const CriticalSection::Lock lock(lock_);
    if (subTask < subTasks_.size())
        subTasks_[subTask].done = done > 0 ? std::min(done, 1.0) : 0;
}

// Both sums round alike, so that the quotient doesn't pass 1.
double ProgressReportClient::calcAggregateProgress() const
{
    const CriticalSection::Lock lock(lock_);
    double done = 0;
    double all = 0;
    for (const SubTask& subTask : subTasks_)
    {
        done += subTask.weight * subTask.done;
        all += subTask.weight;
    }
    return all > 0 ? done / all : 0;
}
