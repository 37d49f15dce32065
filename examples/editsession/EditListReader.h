#pragma once

#include "examples/editsession/EditList.h"

#include <functional>
#include <string_view>
#include <vector>

// How labels count until an FCM line says otherwise.
enum class FrameCount
{
    AsWritten, // drop frame where ";" or "," stands before the frames
    DropFrame,
    NonDropFrame
};

// Reads CMX3600 edit lists. Every line is understood, kept as a note of its event, or refused with a
// reason; a refused line changes nothing, and the lines that belong to a refused event are refused with it.
// Any bytes can be read: nothing is trusted, and the work is proportional to the text.
//
// One thread at a time.
class EditListReader
{
public:
    // Called for each refused line while the list is read. Lines count from 1.
    using Refuse = std::function<void(int line, const Text& reason)>;

    // The rate must have timecode labels.
    EditListReader(Mw::FrameRate rate, FrameCount count, Refuse refuse);

    EditList read(std::string_view text);

private:
    // Why a line is refused; empty if it isn't.
    using Reason = Text;
    using Fields = std::vector<std::string_view>;

    Reason readLine(std::string_view line);
    Reason readTitle(std::string_view title);
    Reason readFrameCount(std::string_view mode);
    Reason readEdit();
    Reason readSpeed();
    Reason readAudio();
    Reason keepNote(std::string_view line);

    Reason readReel(Text& reel);
    Reason readTracks(Text& tracks);
    Reason readTransition(Transition& transition);
    Reason readSpan(const char* name, TapeSpan& span);
    Reason readTimecode(const char* name, int& frame, bool& dropFrame);

    void split(std::string_view line);
    bool atEnd() const { return next_ == fields_.size(); }
    std::string_view peek() const { return atEnd() ? std::string_view() : fields_[next_]; }
    std::string_view take() { return atEnd() ? std::string_view() : fields_[next_++]; }

    Event* currentEvent() { return inEvent_ ? &list_.events.back() : nullptr; }
    Reason noEvent(const char* what) const;
    void add(int number, Edit edit);

    const Mw::FrameRate rate_;
    const Refuse refuse_;

    EditList list_;
    FrameCount count_;
    int line_ = 0;
    Fields fields_; // of the line that is read
    std::size_t next_ = 0;
    bool inEvent_ = false; // whether further lines belong to the last event
    int refusedEdit_ = 0;  // the line of the refused edit that further lines would belong to, or 0
};
