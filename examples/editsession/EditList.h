#pragma once

#include "examples/editsession/Text.h"
#include "misc/identity/Cookie.h"
#include "misc/media/FrameRate.h"

#include <cstdint>
#include <optional>
#include <vector>

// What an edit list says, as values: a list of events, each of one or more edits (the lines under one
// number). Times are frame counts from midnight at the list's rate.

// A stretch of tape: `in` is its first frame, and `in + length` the one behind its last, which may lie on
// the next day.
struct TapeSpan
{
    int in = 0;
    int length = 0;
    bool dropFrame = false; // how its labels count

    bool operator==(const TapeSpan&) const = default;
};

struct Transition
{
    enum Kind
    {
        Cut,
        Dissolve,
        Wipe,
        KeyBackground,
        KeyIn,
        KeyOut
    };

    Kind kind = Cut;
    int wipe = 0;         // the number of its pattern
    int lengthFrames = 0; // 0 for cuts and backgrounds
    bool fade = false;    // a key line marked "(F)"

    bool operator==(const Transition&) const = default;
};

// The speed that a tape runs at, in thousandths of a frame a second: 0 is a frozen frame, below 0 reversed.
struct TapeSpeed
{
    int thousandths = 0;
    int from = 0; // the frame of the source that it begins at
    bool dropFrame = false;

    bool operator==(const TapeSpeed&) const = default;
};

// One line of an event.
struct Edit
{
    Text reel;
    Text tracks;
    Transition transition;
    TapeSpan source;
    TapeSpan record;
    std::optional<TapeSpeed> speed;
    std::vector<int> addedAudio; // further audio tracks, as AUD lines name them

    bool operator==(const Edit&) const = default;
};

struct Event
{
    int number = 0;
    Cookie cookie;
    std::vector<Edit> edits;
    std::vector<Text> notes;

    bool operator==(const Event&) const = default;
};

struct EditList
{
    Mw::FrameRate rate = Mw::FRInvalid;
    Text title;
    std::vector<Text> notes; // those before the first event
    std::vector<Event> events;
};

// The frames of the record from the first in of the event's first `editCount` edits to their last out. Edits
// that lie over one another, as a key over its background, count once.
std::int64_t recordLength(const Event& event, std::size_t editCount, Mw::FrameRate rate);
