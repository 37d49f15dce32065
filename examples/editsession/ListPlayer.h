#pragma once

#include "examples/editsession/EditList.h"

#include <string>

// The events of a list, by number, that a player is to play.
struct EventRange
{
    int first = 0;
    int last = 0; // 0 for nothing at all
};

// The label of a frame of the list's record.
std::string labelInList(const EditList& list, int frame);

// The frames of the record that an event begins at, and ends before.
int beginOf(const Event& event);
int endOf(const Event& event, Mw::FrameRate rate);

// Plays part of a list: a position, a mark in and a mark out, in frames of the record, that displays follow. Gives
// what the displays saw, one line for each change. Marks outside of the list are moved into it; a range whose
// numbers no event has gives an empty text.
std::string playList(const EditList& list, const EventRange& range);
