#include "examples/editsession/Session.h"

#include "examples/editsession/EditListPrinter.h"
#include "examples/editsession/EditListReader.h"
#include "examples/editsession/EventChecksums.h"
#include "examples/editsession/EventCookies.h"
#include "examples/editsession/EventStore.h"
#include "examples/editsession/InputFile.h"
#include "examples/editsession/KeyPlayer.h"
#include "examples/editsession/ProjectSettings.h"
#include "examples/editsession/SessionReport.h"
#include "misc/settings/config.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

namespace
{

// Enough for a hundred thousand events unless set otherwise; the longest films have a few thousand.
std::size_t listLimitBytes()
{
    return static_cast<std::size_t>(std::clamp(config_int("edit_list_limit_mb", 8), 1, 1024)) << 20;
}

} // namespace

ExitStatus Session::run()
{
    std::string text;
    if (const Text reason = readInputFile(options_.list, listLimitBytes(), text); !reason.empty())
    {
        complain(printable(options_.list) + ": " + reason);
        return Failed;
    }
    EditList list = readList(text);
    nameEvents(list);
    if (!show(EditListPrinter(list, options_.gauge).print()) || !showProject() || !play(list) || !playKeyFile(list) ||
        !store(list) || !report(list))
        return Failed;
    const ExitStatus status = options_.checksums ? check(list) : AllRead;
    return status == AllRead && refused_ != 0 ? LinesRefused : status;
}

EditList Session::readList(const std::string& text)
{
    return EditListReader(options_.rate, options_.count, refuserOf(options_.list)).read(text);
}

EditListReader::Refuse Session::refuserOf(const Text& file)
{
    return [this, file](int line, const Text& reason)
    {
        ++refused_;
        std::fprintf(stderr, "%s:%d: %s\n", file.c_str(), line, reason.c_str());
    };
}

void Session::nameEvents(EditList& list)
{
    for (Event& event : list.events)
        event.cookie = newEventCookie();
}

bool Session::showProject() const
{
    return (options_.project.empty() && options_.format.empty()) || show(Text("\n") + projectText() + "\n");
}

bool Session::play(const EditList& list) const
{
    if (options_.play.last == 0)
        return true;
    const std::string seen = playList(list, options_.play);
    if (!seen.empty())
        return show("\n" + seen);
    complain(formatted("--play: the list has no events from %d to %d", options_.play.first, options_.play.last));
    return false;
}

bool Session::playKeyFile(const EditList& list)
{
    if (options_.keys.file.empty())
        return true;
    std::string keys;
    Text reason = list.events.empty() ? Text("the list has no events") : Text();
    if (reason.empty())
        reason = readInputFile(options_.keys.file, listLimitBytes(), keys);
    if (reason.empty())
        return show("\nkeys\n" + playKeys(list, keys, refuserOf(options_.keys.file)));
    complain(Text("--keys: ") + printable(options_.keys.file) + ": " + reason);
    return false;
}

bool Session::store(const EditList& list) const
{
    Text reason;
    const Text file = storeEvents(list, options_.keep, reason);
    if (!reason.empty())
    {
        complain(reason);
        return false;
    }
    Text line = formatted("\n%zu events stored and read back, all equal", list.events.size());
    if (!options_.keep.empty() && !file.empty())
    {
        line += ", in ";
        line += printable(file);
    }
    line += '\n';
    return show(line);
}

bool Session::report(const EditList& list) const
{
    const Text reason = options_.json.empty() ? Text() : writeReport(list, refused_, options_.json);
    if (!reason.empty())
        complain(Text("--json: ") + reason);
    return reason.empty();
}

ExitStatus Session::check(const EditList& list) const
{
    std::string lines;
    if (checkEvents(list, lines))
        return show("\nchecksums\n" + lines) ? AllRead : Failed;
    complain("interrupted");
    return Interrupted;
}

void complain(const Text& message)
{
    std::fprintf(stderr, "editsession: %s\n", message.c_str());
}

bool show(std::string_view text)
{
    if (std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0)
        return true;
    complain(formatted("standard output: %s", std::strerror(errno)));
    return false;
}
