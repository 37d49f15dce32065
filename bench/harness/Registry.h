#pragma once

#include "bench/harness/Statistics.h"

#include <cstddef>
#include <functional>
#include <set>
#include <string>
#include <utility>
#include <vector>

// The cases of the benchmark. A case has one side of ours, any number of peers and at most one physical
// limit; the sides come from several source files, since some peers may not be installed, and meet here
// by the name of the case, "area/what is done".

namespace bench
{

enum class Role
{
    ours,
    peer,
    limit
};

// Does the operation so many times.
using Batch = std::function<void(std::size_t count)>;

struct Side
{
    Role role;
    std::string name;
    Batch batch;
};

// How long ours may take, as a share of the time of another side.
struct Aim
{
    double ratio;
    std::string of; // bestPeer, theLimit or the name of a peer
};

// What counts as the time of an operation.
enum class Clock
{
    processor, // while the thread had a processor: what others take in between does not count
    wall,      // waiting as well, for what waits for a disk
    heap       // no time: the bytes that one operation leaves on the heap, which a batch of 0 drops again
};

inline const std::string bestPeer = "best_peer";
inline const std::string theLimit = "limit";

struct Case
{
    std::string name;
    std::string what;      // one sentence: what is measured
    std::vector<Aim> aims; // the first is shown; all are checked
    int threads = 1;       // with 2, both do the operation at the same time on the same object
    Clock clock = Clock::processor;
    std::vector<Side> sides{};

    std::string area() const { return name.substr(0, name.find('/')); }
    Steadiness steadiness() const
    {
        return threads > 1 || clock == Clock::wall ? Steadiness::unsteady : Steadiness::steady;
    }
};

class Registry
{
public:
    // Declares a case; its sides may have been added before. Rows are shown in the order of declaration.
    void declare(Case description);

    // Adds a side with a loop of its own: limits, and what has to set something up first.
    void add(const std::string& caseName, Side side);

    // Adds a side whose operation is repeated by a loop here, compiled into the file that adds it.
    template <class Operation>
    void ours(const std::string& caseName, Operation operation)
    {
        add(caseName, {Role::ours, "ours", repeated(std::move(operation))});
    }
    template <class Operation>
    void peer(const std::string& caseName, const std::string& name, Operation operation)
    {
        add(caseName, {Role::peer, name, repeated(std::move(operation))});
    }

    // Notes a peer that could only be looked for at run time, by the package it comes with.
    void missing(const std::string& package) { missing_.insert(package); }

    // The declared cases that the filter names: a whole area, or part of a case's name. Empty means all.
    std::vector<Case> select(const std::string& filter) const;
    const std::set<std::string>& missing() const { return missing_; }

private:
    template <class Operation>
    static Batch repeated(Operation operation)
    {
        return [operation = std::move(operation)](std::size_t count) mutable
        {
            for (; count != 0; --count)
                operation();
        };
    }

    std::vector<Case> cases_;
    std::vector<std::pair<std::string, Side>> sides_;
    std::set<std::string> missing_;
};

// A namespace-scope object of this type has its function called before the run.
class Registration
{
public:
    using Function = void (*)(Registry&);
    explicit Registration(Function function);

    static Registry registerAll();
};

} // namespace bench
