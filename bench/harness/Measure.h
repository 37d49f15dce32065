#pragma once

#include "bench/harness/Registry.h"

#include <vector>

namespace bench
{

struct Settings
{
    int repetitions = 21;        // at least 11
    double sampleNs = 2'000'000; // how long one sample of one side takes
};

// What was measured of a case: one summary for each of its sides, in their order.
struct Measurement
{
    const Case* measured;
    std::vector<Summary> summaries;

    // The summary of our side; of the fastest peer; of the limit; of the side that an aim names. Null
    // where there is no such side.
    const Summary* ours() const;
    const Summary* limit() const;
    const Summary* named(const std::string& of) const;
    const Side* bestPeerSide() const;
    const Side* limitSide() const;

    // Whether one of the case's aims is missed. An aim whose peer is not installed is not.
    bool missesAim() const;

private:
    const Summary* summaryOf(const Side* side) const;
};

// Measures the sides of one case in mixed order: each repetition takes one sample of every side, in an
// order drawn anew, so that all of them see the same moments of a machine that changes its speed.
Measurement measure(const Case& measured, const Settings& settings);

// A thread that does nothing for as long as this stands. While it is there, the C library and the C++
// library use the locked instructions that they leave out in programs of one thread.
class ParkedThread
{
public:
    ParkedThread();
    ~ParkedThread();
    ParkedThread(const ParkedThread&) = delete;
    ParkedThread& operator=(const ParkedThread&) = delete;

private:
    struct State;
    State* state_;
};

} // namespace bench
