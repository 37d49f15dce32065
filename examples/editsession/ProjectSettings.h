#pragma once

#include "examples/editsession/Text.h"
#include "misc/media/FrameRate.h"

// The project that the session works in: the library's current one. One thread.

// Opens it at the rate and with the output format that are asked for. The rate is that of the settings file, else the
// one that projects of lists at `listRate` have, else the one that it has. The format is `format`, else that of the
// settings file, else the first that the rate permits. `file` and `format` may be empty, and `listRate` FRInvalid.
// Gives an empty text, or what is wrong; a format that is refused is told with those that the rate permits.
//
//     {
//       frame_rate 25
//       output_format 1080i 25fps
//     }
Text openProject(const Text& file, const Text& format, Mw::FrameRate listRate);

// What it is opened as, for people: "project at 25 fps, output 1080i 25fps".
Text projectText();
