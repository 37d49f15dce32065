#include "examples/editsession/EditListReader.h"

#include "libmw/Text.h"
#include "misc/media/TimecodeLabel.h"

#include <algorithm>
#include <bitset>
#include <utility>

namespace
{

constexpr std::size_t longestLine = 4096;
constexpr unsigned longestReel = 32;
constexpr unsigned eventDigits = 6;
constexpr unsigned lengthDigits = 5;
constexpr std::size_t mostEdits = 100; // of one event; lists have up to four

// Lines of other systems that say something about the event before them without changing it.
constexpr std::string_view noteWords[] = {"*",         "SPLIT:",  "GPI",      "TRIGGER", "EFFECT NAME", "EFFECTS NAME",
                                          "FROM CLIP", "TO CLIP", "KEY CLIP", "LOC:",    "COMMENT:",    "REEL",
                                          "SOURCE",    "SWM",     "DVE",      ">>>"};

bool isNote(std::string_view line)
{
    return std::any_of(std::begin(noteWords), std::end(noteWords),
                       [&](std::string_view word) { return startsWith(line, word); });
}

bool isNumber(std::string_view field)
{
    return numberIn(field, 9) >= 0;
}

// Whether the field is exactly the word.
bool is(std::string_view field, std::string_view upperCaseWord)
{
    return field.size() == upperCaseWord.size() && startsWith(field, upperCaseWord);
}

// Takes one track off the front of a track field: "V" is 0, "A" is 1, the "A" after it is 2, "A3" is 3.
// Gives -1 for anything else.
int takeTrack(std::string_view& tracks, int audioTracksBefore)
{
    const bool audio = startsWith(tracks, "A");
    if (!audio && !startsWith(tracks, "V"))
        return -1;
    tracks.remove_prefix(1);
    const std::size_t digits = std::min(tracks.find_first_not_of("0123456789"), tracks.size());
    const int number = digits == 0 ? 1 + audioTracksBefore : numberIn(tracks.substr(0, digits), 2);
    tracks.remove_prefix(digits);
    if (!audio)
        return digits == 0 || number > 0 ? 0 : -1;
    return number > 0 ? number : -1;
}

// NONE, B, or picture and audio tracks, each at most once, with strokes between them or not: V, A, A2, AA,
// AA/V, A3/A4.
bool areTracks(std::string_view tracks)
{
    if (is(tracks, "NONE") || is(tracks, "B"))
        return true;
    std::bitset<100> seen;
    int audioTracks = 0;
    while (!tracks.empty())
    {
        const int track = takeTrack(tracks, audioTracks);
        if (track < 0 || seen.test(static_cast<std::size_t>(track)))
            return false;
        seen.set(static_cast<std::size_t>(track));
        audioTracks += track > 0;
        if (startsWith(tracks, "/"))
        {
            tracks.remove_prefix(1);
            if (tracks.empty())
                return false;
        }
    }
    return seen.any();
}

// A speed such as "-012.5" in thousandths. Nothing for any other text.
std::optional<int> thousandthsIn(std::string_view speed)
{
    const bool negative = startsWith(speed, "-");
    if (negative || startsWith(speed, "+"))
        speed.remove_prefix(1);
    const std::size_t point = std::min(speed.find('.'), speed.size());
    const int whole = numberIn(speed.substr(0, point), 4);
    std::string decimals(speed.substr(std::min(point + 1, speed.size())));
    decimals.resize(std::max<std::size_t>(decimals.size(), 3), '0');
    const int part = numberIn(decimals, 3);
    if (whole < 0 || part < 0 || point + 1 == speed.size())
        return {};
    const int thousandths = whole * 1000 + part;
    return negative ? -thousandths : thousandths;
}

// Speed lines of some systems have room for the first eight characters of a reel only.
bool namesReel(std::string_view shown, std::string_view reel)
{
    constexpr std::size_t shortReel = 8;
    return shown == reel || (shown.size() == shortReel && reel.substr(0, shortReel) == shown);
}

// Without a byte-order mark at the front, and the end mark that old systems wrote.
std::string_view withoutFileMarks(std::string_view text)
{
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    constexpr char endMark = 0x1A;
    if (text.starts_with(byteOrderMark))
        text.remove_prefix(byteOrderMark.size());
    while (text.ends_with(endMark))
        text.remove_suffix(1);
    return text;
}

} // namespace

EditListReader::EditListReader(Mw::FrameRate rate, FrameCount count, Refuse refuse)
    : rate_(rate), refuse_(std::move(refuse)), count_(count)
{
    list_.rate = rate;
}

EditList EditListReader::read(std::string_view text)
{
    text = withoutFileMarks(text);
    while (!text.empty())
    {
        const std::size_t end = std::min(text.find('\n'), text.size());
        const std::string_view line = trimmed(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
        ++line_;
        if (const Reason reason = readLine(line); !reason.empty())
            refuse_(line_, reason);
    }
    return std::move(list_);
}

EditListReader::Reason EditListReader::readLine(std::string_view line)
{
    if (line.empty())
        return {};
    if (line.size() > longestLine)
        return formatted("the line has %zu bytes, more than %zu", line.size(), longestLine);

    constexpr std::string_view title = "TITLE:";
    constexpr std::string_view frameCount = "FCM:";
    if (startsWith(line, title))
        return readTitle(trimmed(line.substr(title.size())));
    if (startsWith(line, frameCount))
        return readFrameCount(trimmed(line.substr(frameCount.size())));
    if (isNote(line))
        return keepNote(line);

    split(line);
    if (is(peek(), "M2"))
        return readSpeed();
    if (is(peek(), "AUD"))
        return readAudio();
    if (peek().front() >= '0' && peek().front() <= '9')
        return readEdit();
    return quoted(line) + " is no line of an edit list";
}

EditListReader::Reason EditListReader::readTitle(std::string_view title)
{
    // Another title begins another list in the same file, so what follows belongs to no event yet.
    inEvent_ = false;
    refusedEdit_ = 0;
    if (list_.title.empty())
        list_.title = printable(title);
    else
        list_.notes.push_back("TITLE: " + printable(title));
    return {};
}

EditListReader::Reason EditListReader::readFrameCount(std::string_view mode)
{
    split(mode);
    const bool non = startsWith(peek(), "NON");
    if (non && (is(peek(), "NON") || is(peek(), "NON-")))
        take();
    const std::string_view drop = take();
    const bool known = is(drop, "DROP") || (non && (is(drop, "NON-DROP") || is(drop, "NONDROP")));
    if (!known || !(atEnd() || is(take(), "FRAME")) || !atEnd())
        return "FCM: " + quoted(mode) + " is neither DROP FRAME nor NON-DROP FRAME";
    if (!non && Mw::droppedLabelsPerMinute({rate_, true}) == 0)
        return "FCM: there is no drop frame at " + toUTF8(Mw::getDisplayString(rate_));
    count_ = non ? FrameCount::NonDropFrame : FrameCount::DropFrame;
    return {};
}

EditListReader::Reason EditListReader::readEdit()
{
    const std::string_view numberField = take();
    const int number = numberIn(numberField, eventDigits);
    // The lines of an event stay together when one of them is refused.
    const bool continues = inEvent_ && number == list_.events.back().number;
    inEvent_ = continues;
    refusedEdit_ = line_;
    if (number < 0)
        return "the event number " + quoted(numberField) + formatted(" is not 1 to %u digits", eventDigits);
    if (continues && list_.events.back().edits.size() == mostEdits)
        return formatted("event %03d has more than %zu lines", number, mostEdits);

    Edit edit;
    for (const Reason& reason : {readReel(edit.reel), readTracks(edit.tracks), readTransition(edit.transition)})
        if (!reason.empty())
            return reason;
    if (fields_.size() - next_ != 4)
        return formatted("%zu fields where four timecodes should be", fields_.size() - next_);
    for (const Reason& reason : {readSpan("source", edit.source), readSpan("record", edit.record)})
        if (!reason.empty())
            return reason;
    add(number, std::move(edit));
    return {};
}

void EditListReader::add(int number, Edit edit)
{
    if (!inEvent_)
        list_.events.emplace_back().number = number;
    list_.events.back().edits.push_back(std::move(edit));
    inEvent_ = true;
    refusedEdit_ = 0;
}

EditListReader::Reason EditListReader::readReel(Text& reel)
{
    reel = printable(take());
    if (const unsigned length = characters(reel); length > longestReel)
        return formatted("the reel name has %u characters, more than %u", length, longestReel);
    return reel.empty() ? Reason("the line has no reel") : Reason();
}

EditListReader::Reason EditListReader::readTracks(Text& tracks)
{
    const std::string_view field = take();
    if (!areTracks(field))
        return quoted(field) + " names no tracks";
    tracks = toUpper(Text(field));
    return {};
}

EditListReader::Reason EditListReader::readTransition(Transition& transition)
{
    const std::string_view kind = take();
    if (is(kind, "C"))
        transition.kind = Transition::Cut;
    else if (is(kind, "D"))
        transition.kind = Transition::Dissolve;
    else if (startsWith(kind, "W") && (transition.wipe = numberIn(kind.substr(1), 3)) >= 0)
        transition.kind = Transition::Wipe;
    else if (is(kind, "K"))
        transition.kind = is(peek(), "B")   ? Transition::KeyBackground
                          : is(peek(), "O") ? Transition::KeyOut
                                            : Transition::KeyIn;
    else
        return quoted(kind) + " is no transition: they are C, D, Wnnn, K, K B and K O";
    if (transition.kind == Transition::KeyBackground || transition.kind == Transition::KeyOut)
        take();

    if (isNumber(peek()))
    {
        const std::string_view length = take();
        transition.lengthFrames = numberIn(length, lengthDigits);
        if (transition.lengthFrames < 0)
            return "the transition's length " + quoted(length) + formatted(" has more than %u digits", lengthDigits);
        if (transition.kind == Transition::Cut && transition.lengthFrames > 0)
            return "a cut has no length";
    }
    else if (transition.kind == Transition::Dissolve || transition.kind == Transition::Wipe)
        return "the transition's length is missing";
    if (is(peek(), "(F)"))
    {
        transition.fade = true;
        take();
    }
    return {};
}

EditListReader::Reason EditListReader::readSpan(const char* name, TapeSpan& span)
{
    const std::string_view inField = peek();
    if (const Reason reason = readTimecode(formatted("%s in", name).c_str(), span.in, span.dropFrame); !reason.empty())
        return reason;
    const std::string_view outField = peek();
    int out = 0;
    bool dropFrame = false;
    if (const Reason reason = readTimecode(formatted("%s out", name).c_str(), out, dropFrame); !reason.empty())
        return reason;
    // An out before its in is on the next day. No edit is half a day long: that is a slip.
    const int day = Mw::framesPerDay({rate_, span.dropFrame});
    span.length = out >= span.in ? out - span.in : out - span.in + day;
    if (span.length > day / 2)
        return formatted("%s out ", name) + quoted(outField) + " is not behind its in " + quoted(inField);
    return {};
}

EditListReader::Reason EditListReader::readTimecode(const char* name, int& frame, bool& dropFrame)
{
    const Text field = take();
    const bool asked = count_ == FrameCount::DropFrame ||
                       (count_ == FrameCount::AsWritten && isTimecodeStringDropFrame(field.c_str()));
    const TCInf counting{rate_, asked};
    dropFrame = Mw::droppedLabelsPerMinute(counting) > 0;

    tc_addr label;
    if (const Mw::LabelFault fault = Mw::readLabel(field, counting, label); fault != Mw::LabelFault::None)
        return formatted("%s ", name) + quoted(field) + ": " + Mw::labelFaultText(fault);
    frame = Mw::frameOfLabel(label, counting).value_or(0);
    return {};
}

EditListReader::Reason EditListReader::readSpeed()
{
    take();
    Event* const event = currentEvent();
    if (event == nullptr)
        return noEvent("speed");
    const Text reel = printable(take());
    const auto edit = std::find_if(event->edits.rbegin(), event->edits.rend(),
                                   [&](const Edit& e) { return namesReel(reel, e.reel); });
    if (edit == event->edits.rend())
        return "the speed is for reel " + quoted(reel) + formatted(", which event %03d doesn't use", event->number);

    const std::string_view speed = take();
    const std::optional<int> thousandths = thousandthsIn(speed);
    if (!thousandths)
        return quoted(speed) + " is no speed in frames a second";
    if (fields_.size() - next_ != 1)
        return "one timecode should follow the speed";
    TapeSpeed read;
    read.thousandths = *thousandths;
    if (const Reason reason = readTimecode("speed from", read.from, read.dropFrame); !reason.empty())
        return reason;
    edit->speed = read;
    return {};
}

EditListReader::Reason EditListReader::readAudio()
{
    take();
    Event* const event = currentEvent();
    if (event == nullptr)
        return noEvent("audio track");
    if (atEnd())
        return "no audio track is named";
    std::vector<int> tracks = event->edits.back().addedAudio;
    while (!atEnd())
    {
        const std::string_view field = take();
        const int track = numberIn(field, 2);
        if (track <= 0)
            return quoted(field) + " is no number of an audio track";
        if (std::find(tracks.begin(), tracks.end(), track) == tracks.end())
            tracks.push_back(track);
    }
    event->edits.back().addedAudio = std::move(tracks);
    return {};
}

EditListReader::Reason EditListReader::keepNote(std::string_view line)
{
    if (refusedEdit_ != 0 && !inEvent_)
        return noEvent("note");
    const bool starred = line.front() == '*';
    const std::string_view said = starred ? trimmed(line.substr(1)) : line;
    if (said.empty())
        return {};
    std::vector<Text>& notes = inEvent_ ? list_.events.back().notes : list_.notes;
    notes.push_back(starred ? "* " + printable(said) : printable(said));
    return {};
}

EditListReader::Reason EditListReader::noEvent(const char* what) const
{
    return refusedEdit_ != 0 ? formatted("the %s belongs to the event refused in line %d", what, refusedEdit_)
                             : formatted("the %s stands before the first event", what);
}

void EditListReader::split(std::string_view line)
{
    constexpr std::string_view blanks = " \t\r";
    fields_.clear();
    next_ = 0;
    for (std::size_t at = line.find_first_not_of(blanks); at != line.npos; at = line.find_first_not_of(blanks, at))
    {
        const std::size_t end = std::min(line.find_first_of(blanks, at), line.size());
        fields_.push_back(line.substr(at, end - at));
        at = end;
    }
}
