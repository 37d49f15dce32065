#include "misc/media/TimecodeLabel.h"

namespace Mw
{

namespace
{

constexpr int minutesPerDay = 24 * 60;

bool isBelow(int value, int limit)
{
    return value >= 0 && value < limit;
}

// The frames of a minute and of ten with the labels that are dropped in them.
struct LabelCount
{
    explicit LabelCount(TCInf tcInf)
        : perSecond(labelsPerSecond(tcInf.rate)), dropped(droppedLabelsPerMinute(tcInf)), firstMinute(60 * perSecond),
          minute(firstMinute - dropped), tenMinutes(firstMinute + 9 * minute), day(minutesPerDay / 10 * tenMinutes)
    {
    }

    int perSecond;
    int dropped;
    int firstMinute;
    int minute;
    int tenMinutes;
    int day;
};

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

constexpr std::size_t framesSeparator = 8;

int digitsAt(std::string_view text, std::size_t at, std::size_t count)
{
    int value = 0;
    for (const char c : text.substr(at, count))
        value = value * 10 + (c - '0');
    return value;
}

// "00:00:00:00" or "00:00:00:000", any digits.
bool hasLabelForm(std::string_view text)
{
    constexpr std::string_view form = "00:00:00:000";
    if (text.size() != form.size() && text.size() + 1 != form.size())
        return false;
    for (std::size_t i = 0; i != text.size(); ++i)
    {
        const std::string_view allowed = i == framesSeparator ? ":;.," : ":";
        if (form[i] == '0' ? !isDigit(text[i]) : allowed.find(text[i]) == allowed.npos)
            return false;
    }
    return true;
}

char* writeTwoDigits(char* out, int value)
{
    *out++ = static_cast<char>('0' + value / 10);
    *out++ = static_cast<char>('0' + value % 10);
    return out;
}

} // namespace

const char* labelFaultText(LabelFault fault)
{
    switch (fault)
    {
    case LabelFault::None:
        return "";
    case LabelFault::NotALabel:
        return "not of the form HH:MM:SS:FF";
    case LabelFault::NoRate:
        return "the rate has no timecode labels";
    case LabelFault::NoHour:
        return "the hour is not below 24";
    case LabelFault::NoMinute:
        return "the minute is not below 60";
    case LabelFault::NoSecond:
        return "the second is not below 60";
    case LabelFault::NoFrame:
        return "the frame is not below the frames of a second";
    case LabelFault::Dropped:
        return "the label is dropped by drop frame";
    }
    return "";
}

int labelsPerSecond(FrameRate rate)
{
    const bool hasLabels = isInFrameRateGroup(rate, FrameRateGroups::Normal) ||
                           (isInFrameRateGroup(rate, FrameRateGroups::Others) && rate != FR12_5);
    return hasLabels ? getTicksPerSecond(rate) : 0;
}

int droppedLabelsPerMinute(TCInf tcInf)
{
    if (!tcInf.dropFrame)
        return 0;
    switch (tcInf.rate)
    {
    case FR30M:
        return 2;
    case FR60M:
        return 4;
    case FR120M:
        return 8;
    default:
        return 0;
    }
}

int framesPerDay(TCInf tcInf)
{
    return LabelCount(tcInf).day;
}

tc_addr labelOfFrame(std::int64_t frame, TCInf tcInf)
{
    const LabelCount count(tcInf);
    if (count.day == 0)
        return {};
    const int frameOfToday = static_cast<int>(frame % count.day);
    const int frameOfDay = frameOfToday < 0 ? frameOfToday + count.day : frameOfToday;

    // The labels skipped so far put the frame where it would stand without drop frame.
    const int tens = frameOfDay / count.tenMinutes;
    const int inTen = frameOfDay % count.tenMinutes;
    const int minuteOfTen = inTen < count.firstMinute ? 0 : 1 + (inTen - count.firstMinute) / count.minute;
    const int label = frameOfDay + count.dropped * (9 * tens + minuteOfTen);

    const int seconds = label / count.perSecond;
    return timecode_detail::fields(seconds / 3600, seconds / 60 % 60, seconds % 60, label % count.perSecond,
                                   count.dropped != 0 ? 1 : 0);
}

std::optional<int> frameOfLabel(const tc_addr& label, TCInf tcInf)
{
    if (checkLabel(label, tcInf) != LabelFault::None)
        return std::nullopt;
    const LabelCount count(tcInf);
    const int minutes = label.hours * 60 + label.minutes;
    return (minutes * 60 + label.seconds) * count.perSecond + label.frames - count.dropped * (minutes - minutes / 10);
}

LabelFault checkLabel(const tc_addr& label, TCInf tcInf)
{
    const int perSecond = labelsPerSecond(tcInf.rate);
    if (perSecond == 0)
        return LabelFault::NoRate;
    if (!isBelow(label.hours, 24))
        return LabelFault::NoHour;
    if (!isBelow(label.minutes, 60))
        return LabelFault::NoMinute;
    if (!isBelow(label.seconds, 60))
        return LabelFault::NoSecond;
    if (!isBelow(label.frames, perSecond))
        return LabelFault::NoFrame;
    if (label.minutes % 10 != 0 && label.seconds == 0 && label.frames < droppedLabelsPerMinute(tcInf))
        return LabelFault::Dropped;
    return LabelFault::None;
}

LabelFault readLabel(std::string_view text, TCInf tcInf, tc_addr& label)
{
    label = {};
    if (!hasLabelForm(text))
        return LabelFault::NotALabel;
    const bool dropFrame = text[framesSeparator] == ';' || text[framesSeparator] == ',';
    label = timecode_detail::fields(digitsAt(text, 0, 2), digitsAt(text, 3, 2), digitsAt(text, 6, 2),
                                    digitsAt(text, 9, 3), dropFrame ? 1 : 0);
    return checkLabel(label, tcInf);
}

void writeLabel(const tc_addr& label, char* buffer)
{
    const bool fits = isBelow(label.hours, 24) && isBelow(label.minutes, 60) && isBelow(label.seconds, 60) &&
                      isBelow(label.frames, 1000);
    if (fits)
    {
        buffer = writeTwoDigits(buffer, label.hours);
        *buffer++ = ':';
        buffer = writeTwoDigits(buffer, label.minutes);
        *buffer++ = ':';
        buffer = writeTwoDigits(buffer, label.seconds);
        *buffer++ = label.dropFrame != 0 ? ';' : ':';
        if (label.frames >= 100)
            *buffer++ = static_cast<char>('0' + label.frames / 100);
        buffer = writeTwoDigits(buffer, label.frames % 100);
    }
    *buffer = 0;
}

} // namespace Mw
