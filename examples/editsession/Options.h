#pragma once

#include "examples/editsession/EditListReader.h"
#include "examples/editsession/KeyOptions.h"
#include "examples/editsession/ListPlayer.h"
#include "examples/editsession/Text.h"
#include "misc/media/Film.h"
#include "misc/media/FrameRate.h"

// What the command line asks for. What it leaves open comes from the options used last if it says so, then
// from the settings "edit_list_rate" and "edit_list_gauge", then from the current project.
struct Options
{
    Mw::FrameRate rate = Mw::FRInvalid;
    FrameCount count = FrameCount::AsWritten;
    film_gauge gauge = FILM_INVALID;
    Text list;
    Text defaultList;   // what `list` is if no list is named
    bool again = false; // use the options used last
    EventRange play;    // the events to play after the list is printed
    Text keep;          // the directory for the file of stored events; empty if it is not to stay
    Text json;          // the file for the report; empty for none
    Text project;       // the settings file of the project; empty for none
    Text format;        // the project's output format; empty for that of the file, or the first permitted
    KeyOptions keys;
    bool checksums = false; // compute a checksum of every event's frames
    bool help = false;
};

// Fills `options` from the command line and opens the project that they ask for; gives an empty text, or what is wrong
// with it or with a setting.
Text readOptions(int argc, const char* const* argv, Options& options);

// The text of --help.
const char* helpText();
