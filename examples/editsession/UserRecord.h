#pragma once

#include "examples/editsession/Options.h"

// What the session keeps of a user between runs, in UserConfig(). One thread.

// How the runs end. Made at the start of one that names events: says on standard error if the run before
// ended badly, for numbers that it gave to its events are then given again. Its end is the good end, once the
// cookies are kept, unless the program is crashing. There is one record for all runs of a user: of runs at the
// same time, one hears of another that goes on as of a bad end, and a good end hides a bad one before it.
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
