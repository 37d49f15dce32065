#include "examples/editsession/UserRecord.h"

#include "examples/editsession/EventCookies.h"
#include "examples/editsession/Session.h"
#include "misc/diagnostics/FatalError.h"
#include "misc/settings/RegistryConfig.h"

#include "OS/FileMgr.h"
#include "OS/OS.h"
#include "libmw/Text.h"

namespace
{

// The library's own name for it: the cookie jar clears it, and its host sets it.
constexpr char normalExit[] = "Normal Exit";
constexpr char normalExitSection[] = "Configuration";

constexpr char lastOptions[] = "editsession\\Last options";

constexpr const char* countNames[] = {"as written", "drop frame", "non-drop frame"};

const char* nameOf(FrameCount count)
{
    return countNames[static_cast<int>(count)];
}

FrameCount countOf(const Text& name)
{
    for (const FrameCount count : {FrameCount::DropFrame, FrameCount::NonDropFrame})
        if (name == nameOf(count))
            return count;
    return FrameCount::AsWritten;
}

} // namespace

RunRecord::RunRecord()
{
    RegistryConfig& user = UserConfig();
    // The first run has none before it.
    if (user.sourceOf(normalExit, normalExitSection) == RegistryConfig::eFromDefault)
        user.setValue(normalExit, true, normalExitSection);
    if (user.getValue(normalExit, true, normalExitSection))
        return;
    const Cookie last = lastKeptEventCookie();
    const Text behind = last.valid() ? " behind " + last.asString(true) : Text();
    complain("the run before this one ended badly; cookies" + behind + " that it gave to events may be given again");
}

RunRecord::~RunRecord()
{
    // First the numbers: a run whose numbers are not in their file ended badly, however well it went.
    if (keepEventCookies() && get_crash_flag() == 0)
        UserConfig().setValue(normalExit, true, normalExitSection);
}

void keepOptions(const Options& options)
{
    RegistryConfig& user = UserConfig();
    user.setValue("rate", Mw::getPersistableString(options.rate), lastOptions);
    user.setValue("gauge", film_gauge_to_edlstr(options.gauge), lastOptions);
    user.setValue("count", nameOf(options.count), lastOptions);
    // The next run may begin in another directory.
    const LightweightString<wchar_t> list = fromUTF8(options.list);
    const bool relative = options.list[0] != '/';
    user.setValue("list", relative ? toUTF8(Mw::joinPath(OS().fileMgr().workingDirectory(), list)) : options.list,
                  lastOptions);
}

void recallOptions(Options& options)
{
    const RegistryConfig& user = UserConfig();
    if (options.rate == Mw::FRInvalid)
        options.rate = Mw::getFrameRateFromPersistableString(user.getValue("rate", "", lastOptions));
    if (options.gauge == FILM_INVALID)
        options.gauge = edlstr_to_film_gauge(user.getValue("gauge", "", lastOptions).c_str());
    if (options.count == FrameCount::AsWritten)
        options.count = countOf(user.getValue("count", "", lastOptions));
    if (options.list.empty())
        options.list = user.getValue("list", "", lastOptions);
}
