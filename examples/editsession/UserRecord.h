#pragma once

#include "examples/editsession/Options.h"

// What the session keeps of a user between runs, in UserConfig(). One thread.

// How the runs end. Made at the start of one that names events: says on standard error if the run before
// ended badly, for numbers that it gave to its events are then given again. Its end is the good end.
class RunRecord
{
public:
    RunRecord();
    ~RunRecord();
    RunRecord(const RunRecord&) = delete;
    RunRecord& operator=(const RunRecord&) = delete;
};

// The options used last. Recalling fills in those that `options` leaves open.
void keepOptions(const Options& options);
void recallOptions(Options& options);
