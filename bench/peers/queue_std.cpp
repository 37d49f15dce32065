// A deque or a multimap of std::function under a mutex, and a thread that waits for a condition variable.

#include "bench/queue.h"

#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <thread>

namespace
{

using Call = std::function<void()>;

class Fifo
{
public:
    void insert(Call call)
    {
        const std::lock_guard lock(mutex_);
        calls_.push_back(std::move(call));
    }
    void runAll()
    {
        for (;;)
        {
            std::unique_lock lock(mutex_);
            if (calls_.empty())
                return;
            const Call call = std::move(calls_.front());
            calls_.pop_front();
            lock.unlock();
            call();
        }
    }

private:
    std::mutex mutex_;
    std::deque<Call> calls_;
};

class Sorted
{
public:
    void insert(unsigned priority, Call call)
    {
        const std::lock_guard lock(mutex_);
        calls_.emplace(priority, std::move(call));
    }
    void runAll()
    {
        for (;;)
        {
            std::unique_lock lock(mutex_);
            if (calls_.empty())
                return;
            const Call call = std::move(calls_.begin()->second);
            calls_.erase(calls_.begin());
            lock.unlock();
            call();
        }
    }

private:
    std::mutex mutex_;
    std::multimap<unsigned, Call> calls_;
};

class Worker
{
public:
    void insert(Call call)
    {
        {
            const std::lock_guard lock(mutex_);
            calls_.push_back(std::move(call));
        }
        condition_.notify_one();
    }

private:
    void run()
    {
        for (;;)
        {
            std::unique_lock lock(mutex_);
            condition_.wait(lock, [this] { return !calls_.empty(); });
            const Call call = std::move(calls_.front());
            calls_.pop_front();
            lock.unlock();
            call();
        }
    }

    std::mutex mutex_;
    std::condition_variable condition_;
    std::deque<Call> calls_;
    std::thread thread_{[this] { run(); }}; // last: it uses the others
};

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        static long runs = 0;
        static Fifo fifo;
        static Sorted sorted;
        static auto& worker = *new Worker;
        for (const char* caseName : bench::queue::inOrder)
            bench::queue::addInPlace(
                registry, caseName, bench::Role::peer, "deque",
                [](unsigned) { fifo.insert([] { bench::queue::count(runs); }); }, [] { fifo.runAll(); });
        for (const char* caseName : bench::queue::byPriority)
            bench::queue::addInPlace(
                registry, caseName, bench::Role::peer, "multimap",
                [](unsigned priority) { sorted.insert(priority, [] { bench::queue::count(runs); }); },
                [] { sorted.runAll(); });
        bench::queue::addHandOff(registry, bench::Role::peer, "deque",
                                 [](bench::queue::OneThreadCalls& calls) { worker.insert([&calls] { calls.one(); }); });
    });

} // namespace
