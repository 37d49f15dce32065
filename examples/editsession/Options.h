#pragma once

#include "examples/editsession/EditListReader.h"
#include "examples/editsession/Text.h"
#include "misc/media/Film.h"
#include "misc/media/FrameRate.h"

// What the command line asks for.
struct Options
{
    Mw::FrameRate rate = Mw::FRInvalid; // that of the current project unless given
    FrameCount count = FrameCount::AsWritten;
    film_gauge gauge = FILM_35MM;
    Text list;
    Text defaultList; // what `list` is if no list is named
    bool help = false;
};

// Fills `options` from the command line; gives an empty text, or what is wrong with it.
Text readOptions(int argc, const char* const* argv, Options& options);

// The text of --help.
const char* helpText();
