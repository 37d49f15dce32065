#include "examples/editsession/EventChecksums.h"

#include "OS/OS.h"
#include "OS/ThreadMgr.h"
#include "examples/editsession/Console.h"
#include "examples/editsession/ProgressLine.h"
#include "misc/threads/BackgroundTaskBase.h"
#include "misc/threads/UIBackgroundTasksQueue.h"

#include <algorithm>
#include <cinttypes>

namespace
{

class Checksum
{
public:
    void add(std::uint64_t word) { value_ = (value_ ^ word) * 0x100000001B3u; }
    std::uint64_t value() const { return value_; }

private:
    std::uint64_t value_ = 0xCBF29CE484222325u;
};

std::uint64_t frameChecksum(std::uint64_t reel, std::int64_t frame)
{
    constexpr int patternWords = 8192;
    std::uint64_t pattern = reel ^ static_cast<std::uint64_t>(frame);
    Checksum sum;
    for (int i = 0; i < patternWords; ++i)
    {
        pattern = pattern * 6364136223846793005u + 1442695040888963407u;
        sum.add(pattern);
    }
    return sum.value();
}

std::int64_t framesOf(const Event& event)
{
    std::int64_t frames = 0;
    for (const Edit& edit : event.edits)
        frames += edit.source.length;
    return frames;
}

// The checksum of one event. It looks at what is asked of it before each frame.
class ChecksumTask : public BackgroundTaskBase
{
public:
    explicit ChecksumTask(const Event& event) : event_(event), frames_(framesOf(event)) {}

    LightweightString<char> getName() const override { return formatted("checksum of event %03d", event_.number); }
    LightweightString<char> getDescription() const override { return formatted("%" PRId64 " frames", frames_); }
    void run() override
    {
        for (const Edit& edit : event_.edits)
            if (!addEdit(edit))
                return getLog()->addLine(formatted("aborted after %" PRId64 " frames", done_));
        getLog()->setProgress(0, 1);
    }

    std::int64_t frames() const { return frames_; }
    // Once the task is completed.
    Text line() const { return formatted("%03d %016" PRIx64 "\n", event_.number, sum_.value()); }

private:
    bool addEdit(const Edit& edit)
    {
        Checksum reel;
        for (const char c : std::string_view(edit.reel))
            reel.add(static_cast<unsigned char>(c));
        for (int i = 0; i < edit.source.length; ++i)
        {
            if (UIBackgroundTasksQueue::getCurrentTaskStatus() == eAbortRequested)
                return false;
            sum_.add(frameChecksum(reel.value(), std::int64_t{edit.source.in} + i));
            getLog()->setProgress(0, static_cast<double>(++done_) / static_cast<double>(frames_));
        }
        return true;
    }

    const Event& event_;
    const std::int64_t frames_;
    std::int64_t done_ = 0;
    Checksum sum_;
};

// Is told when a task has ended or was removed. The queue keeps it.
class EndCounter : public iCallbackBase<int, NotifyMsg>
{
public:
    explicit EndCounter(std::size_t tasks)
        : left_(tasks), all_(OS().threadMgr().createEvent(iThreadEvent::eManualReset, tasks == 0))
    {
    }
    int execute(const NotifyMsg&) override
    {
        if (--left_ == 0)
            all_->set();
        return 0;
    }
    bool waitForAll(int timeoutMs) { return all_->wait(timeoutMs) == iThreadEvent::eWaitSuccess; }

private:
    std::atomic<std::size_t> left_;
    const Mw::Ptr<iThreadEvent> all_;
};

// The checksums of all events, as one piece of work.
class ChecksumWork : private ProgressReportClient
{
public:
    explicit ChecksumWork(const EditList& list)
    {
        std::vector<unsigned> weights;
        for (const Event& event : list.events)
        {
            tasks_.push_back(Mw::makePtr<ChecksumTask>(event));
            weights.push_back(static_cast<unsigned>(tasks_.back()->frames()));
            frames_ += tasks_.back()->frames();
        }
        setSubTasks(weights);
    }

    // The tasks read the list: if an exception has left `run`, none of them outlives this.
    ~ChecksumWork()
    {
        for (std::size_t i = queued_; i-- > 0;)
            tasks_[i]->setStatus(iBackgroundTask::eAbortRequested);
        for (std::size_t i = queued_; i-- > 0;)
            tasks_[i]->waitForCompletion();
    }
    ChecksumWork(const ChecksumWork&) = delete;
    ChecksumWork& operator=(const ChecksumWork&) = delete;

    // False if Ctrl-C came.
    bool run()
    {
        const auto ends = Mw::makePtr<EndCounter>(tasks_.size());
        queue_.addListener(ends, iBackgroundTaskQueue::eTaskDone);
        queue_.addListener(ends, iBackgroundTaskQueue::eTaskRemoved);
        const InterruptWatch watch;
        ProgressLine line(stderr, "checksums", frames_); // measures the time from here on
        line.show(0);
        for (; queued_ < tasks_.size(); ++queued_)
            queue_.queue(tasks_[queued_], false);

        do
        {
            line.show(progress());
            if (watch.interrupted())
                queue_.abortAllTasks();
        } while (!ends->waitForAll(pollMs));
        line.show(progress());
        return !watch.interrupted();
    }

    std::string lines() const
    {
        std::string lines;
        for (const Mw::Ptr<ChecksumTask>& task : tasks_)
            lines += task->line();
        return lines;
    }

private:
    static constexpr int pollMs = 100;

    double progress()
    {
        for (std::size_t i = 0; i < tasks_.size(); ++i)
            setProgress(i, static_cast<double>(tasks_[i]->getProgress()));
        return calcAggregateProgress();
    }

    UIBackgroundTasksQueue& queue_ = UIBackgroundTasksQueue::instance();
    std::vector<Mw::Ptr<ChecksumTask>> tasks_;
    std::size_t queued_ = 0; // that many of them were
    std::int64_t frames_ = 0;
};

} // namespace

bool checkEvents(const EditList& list, std::string& lines)
{
    ChecksumWork work(list);
    lines.clear();
    if (!work.run())
        return false;
    lines = work.lines();
    return true;
}
