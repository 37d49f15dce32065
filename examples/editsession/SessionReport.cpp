#include "examples/editsession/SessionReport.h"

#include "libmw/Text.h"
#include "misc/media/CurrentProject.h"
#include "misc/text/JSON.h"

#include <cstdint>

namespace
{

using Node = Mw::Ptr<JSON::Element>;
using WideText = LightweightString<wchar_t>;

// The record's length of the whole list.
std::int64_t totalLength(const EditList& list)
{
    std::int64_t frames = 0;
    for (const Event& event : list.events)
        frames += recordLength(event, event.edits.size(), list.rate);
    return frames;
}

WideText rateText(Mw::FrameRate rate)
{
    return fromUTF8(Mw::getPersistableString(rate));
}

WideText projectFormat()
{
    return Mw::CurrentProject::getOutputImageFormat().outputFormat().getDisplayString();
}

WideText cookieText(const Event& event)
{
    return event.cookie.asWString();
}

void writeEdit(JSON::Builder& report, const Edit& edit)
{
    report.startChild(nullptr);
    report.add(L"reel", fromUTF8(edit.reel));
    report.add(L"tracks", fromUTF8(edit.tracks));
    report.add(L"sourceIn", edit.source.in);
    report.add(L"sourceOut", edit.source.in + edit.source.length);
    report.add(L"recordIn", edit.record.in);
    report.add(L"recordOut", edit.record.in + edit.record.length);
    report.add(L"dropFrame", edit.record.dropFrame);
    report.endChild();
}

void writeEvent(JSON::Builder& report, const Event& event)
{
    report.startChild(nullptr);
    report.add(L"number", event.number);
    report.add(L"cookie", cookieText(event));
    report.startArray(L"edits");
    for (const Edit& edit : event.edits)
        writeEdit(report, edit);
    report.endArray();
    report.endChild();
}

JSON::Builder reportOf(const EditList& list, unsigned refusedLines)
{
    JSON::Builder report;
    report.startChild(nullptr);
    report.add(L"title", fromUTF8(list.title));
    report.add(L"rate", rateText(list.rate));
    report.startChild(L"project");
    report.add(L"rate", rateText(Mw::CurrentProject::getFrameRate()));
    report.add(L"outputFormat", projectFormat());
    report.endChild();
    report.startArray(L"events");
    for (const Event& event : list.events)
        writeEvent(report, event);
    report.endArray();
    report.startChild(L"totals");
    report.add(L"events", static_cast<long>(list.events.size()));
    report.add(L"frames", static_cast<long>(totalLength(list)));
    report.add(L"refusedLines", static_cast<long>(refusedLines));
    report.endChild();
    report.endChild();
    return report;
}

bool hasText(const Node& node, const wchar_t* name, const WideText& text)
{
    return node->hasString(name) && node->getString(name) == text;
}

bool hasNumber(const Node& node, const wchar_t* name, double number)
{
    return node->hasNum(name) && node->getNum(name) == number;
}

bool hasTruth(const Node& node, const wchar_t* name, bool truth)
{
    return node->hasBool(name) && node->getBool(name) == truth;
}

bool isEdit(const Node& node, const Edit& edit)
{
    return hasText(node, L"reel", fromUTF8(edit.reel)) && hasText(node, L"tracks", fromUTF8(edit.tracks)) &&
           hasNumber(node, L"sourceIn", edit.source.in) &&
           hasNumber(node, L"sourceOut", edit.source.in + edit.source.length) &&
           hasNumber(node, L"recordIn", edit.record.in) &&
           hasNumber(node, L"recordOut", edit.record.in + edit.record.length) &&
           hasTruth(node, L"dropFrame", edit.record.dropFrame);
}

bool isEvent(const Node& node, const Event& event)
{
    const Node edits = node->getChild(L"edits");
    if (!hasNumber(node, L"number", event.number) || !hasText(node, L"cookie", cookieText(event)) || !edits ||
        edits->getNumChildren() != event.edits.size())
        return false;
    for (unsigned i = 0; i < event.edits.size(); ++i)
        if (!isEdit(edits->getChild(i), event.edits[i]))
            return false;
    return true;
}

bool isReport(const Node& node, const EditList& list, unsigned refusedLines)
{
    const Node events = node->getChild(L"events");
    const Node project = node->getChild(L"project");
    const Node totals = node->getChild(L"totals");
    if (!events || !project || !totals || events->getNumChildren() != list.events.size())
        return false;
    for (unsigned i = 0; i < list.events.size(); ++i)
        if (!isEvent(events->getChild(i), list.events[i]))
            return false;
    return hasText(node, L"title", fromUTF8(list.title)) && hasText(node, L"rate", rateText(list.rate)) &&
           hasText(project, L"rate", rateText(Mw::CurrentProject::getFrameRate())) &&
           hasText(project, L"outputFormat", projectFormat()) &&
           hasNumber(totals, L"events", static_cast<double>(list.events.size())) &&
           hasNumber(totals, L"frames", static_cast<double>(totalLength(list))) &&
           hasNumber(totals, L"refusedLines", refusedLines);
}

} // namespace

Text writeReport(const EditList& list, unsigned refusedLines, const Text& path)
{
    TextFile file;
    reportOf(list, refusedLines).printTo(file);
    Text error;
    if (!file.save(fromUTF8(path), &error))
        return printable(path) + ": " + error;
    return checkReport(list, refusedLines, path);
}

Text checkReport(const EditList& list, unsigned refusedLines, const Text& path)
{
    JSON::Failure failure;
    const Node report = JSON::parseFile(fromUTF8(path), failure);
    if (!failure.reason.empty())
        return formatted("%s:%u:%u: ", printable(path).c_str(), failure.line, failure.column) + failure.reason;
    if (!report || !isReport(report, list, refusedLines))
        return printable(path) + ": the report doesn't read back as it was written";
    return {};
}
