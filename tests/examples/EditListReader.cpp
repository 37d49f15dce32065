#include "ListReading.h"

#include "misc/media/TimecodeLabel.h"

#include <algorithm>
#include <set>

namespace
{

// The times of a cut of one second.
const std::string oneSecond = " 01:00:00:00 01:00:01:00 10:00:00:00 10:00:01:00\n";

std::string cut(const std::string& number, const std::string& times = oneSecond)
{
    return number + " R1 V C " + times;
}

const Edit& onlyEdit(const Reading& reading)
{
    EXPECT_EQ(reading.refused, "");
    static const Edit none;
    return reading.list.events.empty() ? none : reading.list.events[0].edits[0];
}

TEST(EditListReader, lineEndsTabsBlanksAndFileMarksDoNotMatter)
{
    const std::string plain = "TITLE: A B\n\n1 R V D 010" + oneSecond + "* NOTE\n";
    std::string dos = "\xEF\xBB\xBFTITLE:\tA B  \r\n \t\r\n1\tR\tV\tD\t010\t";
    for (const char c : oneSecond.substr(0, oneSecond.size() - 1))
        dos += c == ' ' ? '\t' : c;
    dos += " \t \r\n*NOTE\r\n\x1A";
    for (const std::string& text : {plain, dos, plain.substr(0, plain.size() - 1)})
    {
        const Reading reading = readList(text);
        const Edit& edit = onlyEdit(reading);
        EXPECT_EQ(edit.transition.lengthFrames, 10);
        EXPECT_EQ(edit.source.in, 3600 * 25);
        EXPECT_EQ(edit.record.length, 25);
        EXPECT_EQ(reading.list.title, "A B");
        ASSERT_EQ(reading.list.events[0].notes.size(), 1u);
        EXPECT_EQ(reading.list.events[0].notes[0], "* NOTE");
    }
}

TEST(EditListReader, tracksAreThoseOfTheField)
{
    for (const char* const tracks :
         {"V", "A", "A2", "AA", "AA/V", "B", "NONE", "A2/V", "A3", "A4/V", "A/A2", "VA1A2", "aa/v"})
        EXPECT_EQ(readList("1 R " + std::string(tracks) + " C" + oneSecond).refused, "") << tracks;
    for (const char* const tracks : {"VV", "AAA/A2", "A0", "A100", "V/", "V//A", "BV"})
        EXPECT_NE(readList("1 R " + std::string(tracks) + " C" + oneSecond).refused, "") << tracks;
}

TEST(EditListReader, transitionsHaveTheirKindAndLength)
{
    const std::tuple<const char*, Transition::Kind, int, int> rows[] = {
        {"C 000", Transition::Cut, 0, 0},         {"W001 030", Transition::Wipe, 1, 30},
        {"K B", Transition::KeyBackground, 0, 0}, {"K B 000 (F)", Transition::KeyBackground, 0, 0},
        {"K 012", Transition::KeyIn, 0, 12},      {"K O 025", Transition::KeyOut, 0, 25},
        {"d 7", Transition::Dissolve, 0, 7},
    };
    for (const auto& [text, kind, wipe, length] : rows)
    {
        const Reading reading = readList("1 R V " + std::string(text) + oneSecond);
        const Transition& read = onlyEdit(reading).transition;
        EXPECT_TRUE(read.kind == kind && read.wipe == wipe && read.lengthFrames == length) << text;
    }
    for (const char* const bad : {"W001", "W 030", "C 010", "D 123456", "WIPE 10", "D 010 010"})
        EXPECT_NE(readList("1 R V " + std::string(bad) + oneSecond).refused, "") << bad;
}

TEST(EditListReader, timecodesThatNameNoFrameAreRefusedWithTheReason)
{
    const std::tuple<const char*, Mw::FrameRate, FrameCount, const char*> rows[] = {
        {"24:00:00:00", Mw::FR25, FrameCount::AsWritten, "hour"},
        {"00:00:00:60", Mw::FR60M, FrameCount::NonDropFrame, "frame"},
        {"00:01:00:03", Mw::FR60M, FrameCount::DropFrame, "drop"},
        {"00:01:00;00", Mw::FR30M, FrameCount::AsWritten, "drop"},
        {"-1:00:00:00", Mw::FR25, FrameCount::AsWritten, "form"},
    };
    for (const auto& [label, rate, count, reason] : rows)
    {
        const Reading reading =
            readList(std::string("1 R V C 00:00:00:00 ") + label + oneSecond.substr(0, 24), rate, count);
        EXPECT_TRUE(reading.list.events.empty()) << label;
        EXPECT_EQ(reading.refused.find(std::string("1: source out \"") + label), 0u) << reading.refused;
        EXPECT_NE(reading.refused.rfind(reason), std::string::npos) << reading.refused;
    }
}

TEST(EditListReader, countIsDropFrameFromItsLineOn)
{
    const std::string overMinute = " 00:00:59:29 00:01:00:02 00:00:59:29 00:01:00:02\n";
    const Reading reading = readList(cut("1", overMinute) + "FCM: DROP FRAME\n" + cut("2", overMinute) +
                                         "FCM: NON-DROP FRAME\n" + cut("3", overMinute) + "fcm: drop\n" +
                                         cut("4", overMinute) + "FCM: NON DROP FRAME\n" + cut("5", overMinute),
                                     Mw::FR30M);
    EXPECT_EQ(reading.refused, "");
    ASSERT_EQ(reading.list.events.size(), 5u);
    for (const Event& event : reading.list.events)
        EXPECT_EQ(event.edits[0].record.length, event.number % 2 == 0 ? 1 : 3) << event.number;
    EXPECT_EQ(onlyEdit(readList(cut("1", overMinute), Mw::FR30M, FrameCount::DropFrame)).source.length, 1);
    EXPECT_NE(readList("FCM:", Mw::FR30M).refused, "");
}

TEST(EditListReader, linesUnderOneNumberAreOneEvent)
{
    const Reading reading = readList("1 R1 V C" + oneSecond + "* BETWEEN\n\n1 R2 V D 010" + oneSecond +
                                     "M2 R1 -012.5 01:00:00:00\nM2 R2 000.0 01:00:00:00\nAUD 3 4\nAUD 4\n"
                                     "SPLIT:  AUDIO DELAY= 00:00:00:05\n" +
                                     cut("2") + "TITLE: NEXT\n" + cut("2"));
    EXPECT_EQ(reading.refused, "");
    ASSERT_EQ(reading.list.events.size(), 3u);
    const Event& event = reading.list.events[0];
    ASSERT_EQ(event.edits.size(), 2u);
    EXPECT_EQ(event.notes.size(), 2u);
    EXPECT_EQ(event.edits[0].speed->thousandths, -12500);
    EXPECT_EQ(event.edits[1].speed->thousandths, 0);
    EXPECT_EQ(event.edits[1].addedAudio, (std::vector<int>{3, 4}));
}

TEST(EditListReader, speedsAreWholeThousandths)
{
    const std::pair<const char*, int> rows[] = {{"000.0", 0},      {"-000.0", 0},       {"25", 25000},
                                                {"+050.0", 50000}, {"-029.97", -29970}, {"006.25", 6250}};
    for (const auto& [text, thousandths] : rows)
        EXPECT_EQ(onlyEdit(readList(cut("1") + "M2 R1 " + text + " 01:00:00:00")).speed->thousandths, thousandths);
    for (const char* const bad : {"-", "1e3", "25.", ".5", "1.2345", "99999", ""})
        EXPECT_NE(readList(cut("1") + "M2 R1 " + bad + " 01:00:00:00").refused, "") << bad;
}

TEST(EditListReader, refusedEventTakesItsLinesWithItAndTheRestIsRead)
{
    const Reading reading = readList(cut("1") + "2 R V C 25:00:00:00" + oneSecond +
                                     "* NOTE\nM2 R 0 01:00:00:00\nAUD 3\n" + cut("3") + "* NOTE\n");
    EXPECT_EQ(std::count(reading.refused.begin(), reading.refused.end(), '\n'), 4);
    EXPECT_EQ(reading.refused.find("2: "), 0u);
    EXPECT_NE(reading.refused.find("\n5: the audio track belongs to the event refused in line 2\n"), std::string::npos);
    ASSERT_EQ(reading.list.events.size(), 2u);
    EXPECT_TRUE(reading.list.events[0].notes.empty());
    EXPECT_EQ(reading.list.events[1].notes.size(), 1u);

    // Over midnight an edit may run, but not backwards.
    const Edit night = onlyEdit(readList("1 R V C 23:59:59:00 00:00:01:00 23:59:59:00 00:00:01:00"));
    EXPECT_EQ(night.source.length, 50);

    const Reading half = readList(cut("1") + "1 R V D" + oneSecond + "* NOTE OF WHAT STANDS\n");
    EXPECT_EQ(half.refused.substr(0, 3), "2: ");
    EXPECT_EQ(half.list.events[0].notes.size(), 1u);
}

TEST(EditListReader, longTextsHaveTheirLimits)
{
    std::string umlauts;
    for (int i = 0; i < 32; ++i)
        umlauts += "\xC3\xBC";
    EXPECT_EQ(readList("1 " + umlauts + " V C" + oneSecond).refused, "");
    EXPECT_EQ(readList(cut("1") + "*" + std::string(1u << 20, 'x') + "\n" + cut("2")).list.events.size(), 2u);
    EXPECT_LT(readList(std::string(4000, 'x')).refused.size(), 100u);

    std::string crowd;
    for (int i = 0; i < 101; ++i)
        crowd += cut("1");
    EXPECT_EQ(readList(crowd).refused, "101: event 001 has more than 100 lines\n");
}

TEST(EditListReader, noBytesReachATerminalThatSteerIt)
{
    using namespace std::string_literals;
    const Reading reading =
        readList("TITLE: \x1B[2J\xFF\n1 R\0\x07 V C"s + oneSecond + "* \x9B\xC2\x9B\xE2\x80\xAEtext\n\x1B]0;\n");
    const Event& event = reading.list.events[0];
    const std::string shown = reading.refused + reading.list.title.c_str() + event.edits[0].reel.c_str();
    EXPECT_EQ((shown + event.notes[0].c_str()).find_first_of("\x1B\x07\xFF\x9B\xAE"), std::string::npos);
    EXPECT_TRUE(event.notes[0].endsWith("text"));
}

TEST(ShippedLists, coastlineHasEveryForm)
{
    const std::string text = shippedList("coastline.edl");
    for (const char* const form : {"TITLE:", "FCM:", "\r\n\r\n", " \r\n", "\t\r\n", "\nM2 ", " -0", " 000.0 ", "\nAUD ",
                                   "\n* ", "\n*FROM", "\t", "SPLIT:"})
        EXPECT_NE(text.find(form), std::string::npos) << form;
    const Reading reading = readList(text);
    EXPECT_EQ(reading.refused, "");
    EXPECT_GE(reading.list.events.size(), 100u);
    std::set<std::string> tracks;
    std::set<int> kinds;
    for (const Event& event : reading.list.events)
        for (const Edit& edit : event.edits)
        {
            tracks.insert(edit.tracks.c_str());
            kinds.insert(edit.transition.kind);
        }
    EXPECT_EQ(tracks, (std::set<std::string>{"A", "A2", "A2/V", "AA", "AA/V", "B", "NONE", "V"}));
    EXPECT_EQ(kinds.size(), 6u);
}

} // namespace
