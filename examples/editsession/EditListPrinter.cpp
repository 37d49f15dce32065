#include "examples/editsession/EditListPrinter.h"

#include "libmw/Text.h"
#include "misc/media/TimecodeLabel.h"

#include <algorithm>
#include <cstdlib>
#include <limits>

namespace
{

constexpr unsigned cookieWidth = 8;
constexpr unsigned transitionWidth = 8;
constexpr unsigned feetWidth = 7;
constexpr unsigned widestReel = 8;

Text transitionText(const Transition& transition)
{
    static constexpr const char* names[] = {"C", "D", "W", "KB", "K", "KO"};
    Text text = names[transition.kind];
    if (transition.kind == Transition::Wipe)
        text += formatted("%03d", transition.wipe);
    if (transition.kind != Transition::Cut && transition.kind != Transition::KeyBackground)
        text += formatted("/%03d", transition.lengthFrames);
    if (transition.fade)
        text += "F";
    return text;
}

// Frames a second, in as few decimals as tell all.
Text speedText(int thousandths)
{
    const int size = std::abs(thousandths);
    Text text = formatted("%s%d.%03d", thousandths < 0 ? "-" : "", size / 1000, size % 1000);
    while (text.back() == '0')
        text.resize(text.length() - 1);
    if (text.back() == '.')
        text.resize(text.length() - 1);
    return text;
}

const char* plural(std::size_t count)
{
    return count == 1 ? "" : "s";
}

} // namespace

EditListPrinter::EditListPrinter(const EditList& list, film_gauge gauge) : list_(list), gauge_(gauge)
{
    measure();
}

std::string EditListPrinter::print()
{
    out_.clear();
    total_ = 0;
    printHead();
    for (const Event& event : list_.events)
        printEvent(event);
    printSummary();
    return std::move(out_);
}

// Columns are as wide as the list needs: most need neither hours in their lengths nor three digits of frames.
void EditListPrinter::measure()
{
    const auto widen = [](unsigned& width, unsigned length) { width = std::max(width, length); };
    std::int64_t total = 0;
    for (const Event& event : list_.events)
    {
        widen(numberWidth_, formatted("%03d", event.number).length());
        for (const Edit& edit : event.edits)
        {
            widen(reelWidth_, std::min(characters(edit.reel), widestReel));
            widen(tracksWidth_, edit.tracks.length());
            widen(labelWidth_, label(edit.source.in, true).length());
            widen(lengthWidth_, duration(edit.record.length, true).length());
        }
        total += recordLength(event, event.edits.size(), list_.rate);
    }
    widen(totalWidth_, label(total, true).length());
}

void EditListPrinter::printHead()
{
    if (!list_.title.empty())
        (out_ += list_.title) += '\n';
    out_ += toUTF8(Mw::getDisplayString(list_.rate)) + ", " + film_gauge_to_str(gauge_) + " film\n";
    for (const Text& note : list_.notes)
        (out_ += note) += '\n';
    out_ += '\n';

    left("Evt", numberWidth_);
    left("Cookie", cookieWidth);
    left("Reel", reelWidth_);
    left("Trks", tracksWidth_);
    left("Trans", transitionWidth);
    for (const char* const name : {"Source in", "Source out", "Record in", "Record out"})
        left(name, labelWidth_);
    right("Length", lengthWidth_);
    right("Total", totalWidth_);
    right("Len ft", feetWidth);
    right("Tot ft", feetWidth);
    out_ += '\n';
}

void EditListPrinter::printEvent(const Event& event)
{
    const std::int64_t before = total_;
    for (std::size_t i = 0; i < event.edits.size(); ++i)
    {
        total_ = before + recordLength(event, i + 1, list_.rate);
        printRow(event, event.edits[i]);
        printRemarks(event.edits[i]);
    }
    for (const Text& note : event.notes)
        remark(note);
}

void EditListPrinter::printRow(const Event& event, const Edit& edit)
{
    left(formatted("%03d", event.number), numberWidth_);
    left(event.cookie.asString(true), cookieWidth);
    if (characters(edit.reel) <= reelWidth_)
        left(edit.reel, reelWidth_);
    else
        (out_ += edit.reel) += '\n' + std::string(numberWidth_ + cookieWidth + reelWidth_ + 3, ' ');
    left(edit.tracks, tracksWidth_);
    left(transitionText(edit.transition), transitionWidth);
    for (const TapeSpan& span : {edit.source, edit.record})
    {
        left(label(span.in, span.dropFrame), labelWidth_);
        const int day = Mw::framesPerDay({list_.rate, span.dropFrame});
        left(label((span.in + span.length) % day, span.dropFrame), labelWidth_);
    }
    right(duration(edit.record.length, edit.record.dropFrame), lengthWidth_);
    right(label(total_, edit.record.dropFrame), totalWidth_);
    right(feet(edit.record.length), feetWidth);
    right(feet(total_), feetWidth);
    out_ += '\n';
}

void EditListPrinter::printRemarks(const Edit& edit)
{
    if (edit.speed)
        remark("runs at " + speedText(edit.speed->thousandths) + " frames a second from " +
               label(edit.speed->from, edit.speed->dropFrame));
    else if (const int longer = edit.source.length - edit.record.length; longer != 0)
        remark(formatted("the source is %d frame%s %s than the record", std::abs(longer),
                         plural(static_cast<std::size_t>(std::abs(longer))), longer > 0 ? "longer" : "shorter"));
    if (!edit.addedAudio.empty())
    {
        Text tracks = "audio on";
        for (const int track : edit.addedAudio)
            tracks += formatted(" %d", track);
        remark(tracks + " too");
    }
}

void EditListPrinter::printSummary()
{
    std::size_t edits = 0;
    for (const Event& event : list_.events)
        edits += event.edits.size();
    const bool dropFrame = !list_.events.empty() && list_.events.back().edits.back().record.dropFrame;
    const std::size_t events = list_.events.size();
    out_ += '\n';
    out_ += formatted("%zu event%s in %zu line%s, ", events, plural(events), edits, plural(edits));
    out_ += label(total_, dropFrame) + ", " + feet(total_) + " feet of " + film_gauge_to_str(gauge_) + " film\n";
}

void EditListPrinter::left(std::string_view text, unsigned width)
{
    const unsigned length = characters(text);
    out_ += text;
    out_.append(length < width ? width - length : 0, ' ');
    out_ += ' ';
}

void EditListPrinter::right(std::string_view text, unsigned width)
{
    const unsigned length = characters(text);
    if (out_.back() != ' ')
        out_ += ' ';
    out_.append(length < width ? width - length : 0, ' ');
    out_ += text;
}

void EditListPrinter::remark(const Text& text)
{
    out_.append(numberWidth_ + 1, ' ');
    (out_ += text) += '\n';
}

Text EditListPrinter::label(std::int64_t frame, bool dropFrame) const
{
    const TCInf counting{list_.rate, dropFrame};
    char buffer[Mw::longestLabelBytes];
    Mw::writeLabel(Mw::labelOfFrame(frame, counting), buffer);
    const std::int64_t days = frame / Mw::framesPerDay(counting);
    return days == 0 ? Text(buffer) : formatted("%lldd ", static_cast<long long>(days)) + buffer;
}

// A label without the hours that most lengths don't have.
Text EditListPrinter::duration(std::int64_t frames, bool dropFrame) const
{
    const Text text = label(frames, dropFrame);
    constexpr const char* noHours = "00:";
    return text.startsWith(noHours) ? text.substr(3) : text;
}

// frames_to_feet counts in int; nobody cuts two years of film.
Text EditListPrinter::feet(std::int64_t frames) const
{
    if (frames > std::numeric_limits<int>::max())
        return "-";
    const std::string_view text = frames_to_feet(static_cast<int>(frames), gauge_, 0);
    return text.substr(text.find_first_not_of(' '));
}
