#pragma once

#include "examples/editsession/Text.h"

#include <vector>

// What the command line asks of the user's key mappings. They are kept in UserConfig(), for all runs that follow.

struct KeyChange
{
    enum Kind
    {
        Bind,
        Unbind,
        ResetAll
    };

    Kind kind;
    Text command;
    Text key;
};

struct KeyOptions
{
    std::vector<KeyChange> changes; // in the order in which they were asked for
    bool list = false;
    Text explain; // the key to explain; empty for none
    Text file;    // the key presses to play; empty for none

    // Whether there is something to do without an edit list.
    bool standAlone() const { return !changes.empty() || list || !explain.empty(); }
};

// Reads "COMMAND=KEY". False if it is something else.
bool readKeyChange(const Text& value, KeyChange::Kind kind, KeyOptions& options);

// Makes the changes, then shows what is asked for. False, with a complaint, if one of them can't be made; those before
// it stay.
bool applyKeyOptions(const KeyOptions& options);
