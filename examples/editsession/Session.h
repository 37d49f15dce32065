#pragma once

#include "examples/editsession/Options.h"

#include <string>

// How the program ends.
enum ExitStatus
{
    AllRead = 0,
    LinesRefused = 1,
    Failed = 2,       // wrong options, or a file that can't be read or written
    Interrupted = 130 // by Ctrl-C, as shells count it
};

// One run over an edit list: reads it, names its events, prints it. What the session says goes to standard
// output, what it can't read to standard error.
class Session
{
public:
    explicit Session(const Options& options) : options_(options) {}

    ExitStatus run();

private:
    EditList readList(const std::string& text);
    EditListReader::Refuse refuserOf(const Text& file);
    static void nameEvents(EditList& list);
    bool showProject() const;
    bool play(const EditList& list) const;
    bool playKeyFile(const EditList& list);
    bool store(const EditList& list) const;
    bool report(const EditList& list) const;
    ExitStatus check(const EditList& list) const;

    const Options options_;
    unsigned refused_ = 0;
};

// Writes one line to standard error, which is meant for people: "editsession: MESSAGE".
void complain(const Text& message);

// Writes to standard output. False, with a complaint, if not all of it arrived.
bool show(std::string_view text);
