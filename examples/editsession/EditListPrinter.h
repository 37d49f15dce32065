#pragma once

#include "examples/editsession/EditList.h"
#include "misc/media/Film.h"

#include <string>

// Prints an edit list as a table for people, in UTF-8: one row for each edit, with its length, the total of
// the list so far and both in film feet and frames; under it its speed, what is odd about it, and the notes
// of its event. A row of the common rates fits into 120 columns; a reel of more than 8 characters has a row
// of its own before the rest.
//
// One thread at a time in the process, as frames_to_feet.
class EditListPrinter
{
public:
    // The list must outlive the printer.
    EditListPrinter(const EditList& list, film_gauge gauge);

    std::string print();

private:
    void measure();
    void printHead();
    void printEvent(const Event& event);
    void printRow(const Event& event, const Edit& edit);
    void printRemarks(const Edit& edit);
    void printSummary();

    // The table's columns; a text that is longer than its column pushes the rest.
    void left(std::string_view text, unsigned width);
    void right(std::string_view text, unsigned width);
    void remark(const Text& text);

    Text label(std::int64_t frame, bool dropFrame) const;
    Text duration(std::int64_t frames, bool dropFrame) const;
    Text feet(std::int64_t frames) const;

    const EditList& list_;
    const film_gauge gauge_;

    unsigned numberWidth_ = 3;
    unsigned reelWidth_ = 4;
    unsigned tracksWidth_ = 4;
    unsigned labelWidth_ = 11;
    unsigned lengthWidth_ = 8;
    unsigned totalWidth_ = 11;

    std::string out_;
    std::int64_t total_ = 0; // of the rows printed so far
};
