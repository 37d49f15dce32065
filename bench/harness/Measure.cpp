#include "bench/harness/Measure.h"

#include "bench/harness/Processors.h"

#include <algorithm>
#include <atomic>
#include <ctime>
#include <malloc.h>
#include <numeric>
#include <random>
#include <semaphore>
#include <thread>

namespace bench
{

namespace
{

double nowNs(Clock clock)
{
    timespec time;
    clock_gettime(clock == Clock::wall ? CLOCK_MONOTONIC : CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e9 + static_cast<double>(time.tv_nsec);
}

double heapBytes()
{
    const struct mallinfo2 heap = mallinfo2();
    return static_cast<double>(heap.uordblks + heap.hblkhd);
}

double heapOfOne(const Batch& batch)
{
    batch(0);
    const double before = heapBytes();
    batch(1);
    const double left = heapBytes() - before;
    batch(0);
    return left;
}

double timeOnOneThread(const Batch& batch, std::size_t count, Clock clock)
{
    if (clock == Clock::heap)
        return heapOfOne(batch);
    const double start = nowNs(clock);
    batch(count);
    return nowNs(clock) - start;
}

struct Race
{
    double slowerNs;   // time of the slower thread
    double sharedPart; // of the time from the first start to the last end, in which each of the two ran
};

// Both threads start together, each on a processor of its own: on one they would take turns and never meet.
Race race(const Batch& batch, std::size_t count, Clock clock)
{
    struct Lap
    {
        double start = 0;
        double end = 0;
        double ns = 0;
    };
    std::atomic<int> waiting{2};
    const auto run = [&](int processor)
    {
        const Pinned pinned(processor);
        Lap lap;
        --waiting;
        while (waiting.load() != 0)
            ;
        lap.start = nowNs(Clock::wall);
        lap.ns = timeOnOneThread(batch, count, clock);
        lap.end = nowNs(Clock::wall);
        return lap;
    };
    Lap other;
    std::thread partner([&] { other = run(1); });
    const Lap own = run(0);
    partner.join();
    const double wholeNs = std::max(own.end, other.end) - std::min(own.start, other.start);
    return {std::max(own.ns, other.ns), std::min(own.ns, other.ns) / wholeNs};
}

// Where other programs took a processor away, the threads met for a part of the time only: such a race is
// run again, and the best of a few counts.
double timeOnTwoThreads(const Batch& batch, std::size_t count, Clock clock)
{
    Race best{0, -1};
    for (int tries = 0; tries < 10 && best.sharedPart < 0.8; ++tries)
        if (const Race next = race(batch, count, clock); next.sharedPart > best.sharedPart)
            best = next;
    return best.slowerNs;
}

class Sampler
{
public:
    Sampler(const Side& side, const Case& measured, double sampleNs)
        : batch_(side.batch), threads_(measured.threads), clock_(measured.clock)
    {
        // Short samples of two threads are seldom disturbed.
        if (clock_ != Clock::heap)
            calibrate(threads_ == 1 ? sampleNs : sampleNs / 4);
    }

    double operationNs() const { return elapsedNs(count_) / static_cast<double>(count_); }

private:
    double elapsedNs(std::size_t count) const
    {
        return threads_ == 1 ? timeOnOneThread(batch_, count, clock_) : timeOnTwoThreads(batch_, count, clock_);
    }

    // Doubles the batch until it takes long enough to be measured, then scales it to the wanted length.
    void calibrate(double sampleNs)
    {
        double elapsed = undisturbedNs();
        while (elapsed < sampleNs / 4)
        {
            count_ *= 2;
            elapsed = undisturbedNs();
        }
        count_ = std::max<std::size_t>(1, static_cast<std::size_t>(static_cast<double>(count_) * sampleNs / elapsed));
    }

    // One run alone may have waited for a processor, and the batch would stay far too short.
    double undisturbedNs() const { return std::min({elapsedNs(count_), elapsedNs(count_), elapsedNs(count_)}); }

    const Batch& batch_;
    int threads_;
    Clock clock_;
    std::size_t count_ = 1;
};

} // namespace

Measurement measure(const Case& measured, const Settings& settings)
{
    std::vector<Sampler> samplers;
    for (const Side& side : measured.sides)
        samplers.emplace_back(side, measured, settings.sampleNs);

    std::vector<std::size_t> order(samplers.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::vector<std::vector<double>> samples(samplers.size());
    std::minstd_rand random;
    for (int repetition = 0; repetition < settings.repetitions; ++repetition)
    {
        std::shuffle(order.begin(), order.end(), random);
        for (const std::size_t index : order)
            samples[index].push_back(samplers[index].operationNs());
    }

    Measurement result{&measured, {}};
    for (const std::vector<double>& each : samples)
        result.summaries.push_back(summarise(each));
    return result;
}

const Summary* Measurement::summaryOf(const Side* side) const
{
    return side == nullptr ? nullptr : &summaries[static_cast<std::size_t>(side - measured->sides.data())];
}

const Summary* Measurement::ours() const
{
    for (const Side& side : measured->sides)
        if (side.role == Role::ours)
            return summaryOf(&side);
    return nullptr;
}

const Side* Measurement::bestPeerSide() const
{
    const Side* best = nullptr;
    for (const Side& side : measured->sides)
        if (side.role == Role::peer && (best == nullptr || summaryOf(&side)->medianNs < summaryOf(best)->medianNs))
            best = &side;
    return best;
}

const Side* Measurement::limitSide() const
{
    for (const Side& side : measured->sides)
        if (side.role == Role::limit)
            return &side;
    return nullptr;
}

const Summary* Measurement::limit() const
{
    return summaryOf(limitSide());
}

const Summary* Measurement::named(const std::string& of) const
{
    if (of == bestPeer)
        return summaryOf(bestPeerSide());
    if (of == theLimit)
        return limit();
    for (const Side& side : measured->sides)
        if (side.role == Role::peer && side.name == of)
            return summaryOf(&side);
    return nullptr;
}

bool Measurement::missesAim() const
{
    const Summary* const own = ours();
    return std::any_of(measured->aims.begin(), measured->aims.end(),
                       [&](const Aim& aim)
                       {
                           const Summary* const other = named(aim.of);
                           return own != nullptr && other != nullptr &&
                                  misses(*own, *other, aim.ratio, measured->steadiness());
                       });
}

struct ParkedThread::State
{
    std::binary_semaphore release{0};
    std::thread thread;
};

ParkedThread::ParkedThread() : state_(new State)
{
    state_->thread = std::thread([state = state_] { state->release.acquire(); });
}

ParkedThread::~ParkedThread()
{
    state_->release.release();
    state_->thread.join();
    delete state_;
}

} // namespace bench
