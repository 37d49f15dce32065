#include "examples/editsession/Options.h"

#include "examples/editsession/ProjectSettings.h"
#include "examples/editsession/UserRecord.h"

#include "libmw/Text.h"
#include "misc/media/CurrentProject.h"
#include "misc/media/TimecodeLabel.h"
#include "misc/settings/config.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace
{

Text setRate(Options& options, const Text& value)
{
    options.rate = Mw::getFrameRateFromPersistableString(value);
    if (options.rate == Mw::FRInvalid)
        return quoted(value) + " is no frame rate; rates are written 24, 25, 30M (29.97), 60M (59.94) and the like";
    if (Mw::labelsPerSecond(options.rate) == 0)
        return "there is no timecode at the rate " + quoted(value);
    return {};
}

Text setGauge(Options& options, const Text& value)
{
    options.gauge = edlstr_to_film_gauge(value.c_str());
    if (options.gauge == FILM_INVALID)
        options.gauge = int_to_film_gauge(numberIn(value, 2));
    if (options.gauge == FILM_INVALID)
        return quoted(value) + " is no film gauge; gauges are 16 (F16), 35 (F35), F16R and F353";
    return {};
}

Text setDropFrame(Options& options, const Text&)
{
    options.count = FrameCount::DropFrame;
    return {};
}

Text setNonDropFrame(Options& options, const Text&)
{
    options.count = FrameCount::NonDropFrame;
    return {};
}

Text setDefaultList(Options& options, const Text& value)
{
    options.defaultList = value;
    return {};
}

Text setAgain(Options& options, const Text&)
{
    options.again = true;
    return {};
}

// Two event numbers with a hyphen between them.
Text setPlay(Options& options, const Text& value)
{
    const std::string_view range = value;
    const std::size_t hyphen = std::min(range.find('-'), range.size());
    options.play.first = numberIn(range.substr(0, hyphen), 6);
    options.play.last = numberIn(range.substr(std::min(hyphen + 1, range.size())), 6);
    if (options.play.first < 0 || options.play.last < 1)
        return quoted(value) + " is no range of events, such as 2-8";
    return {};
}

Text setKeep(Options& options, const Text& value)
{
    options.keep = value;
    return value.empty() ? "a directory is needed" : "";
}

Text setJson(Options& options, const Text& value)
{
    options.json = value;
    return {};
}

Text setProject(Options& options, const Text& value)
{
    options.project = value;
    return value.empty() ? "a file is needed" : "";
}

Text setFormat(Options& options, const Text& value)
{
    options.format = value;
    return value.empty() ? "a format is needed" : "";
}

Text addKeyChange(Options& options, const Text& value, KeyChange::Kind kind)
{
    return readKeyChange(value, kind, options.keys) ? "" : quoted(value) + " is no COMMAND=KEY, such as \"Mark in=F5\"";
}

Text addBind(Options& options, const Text& value)
{
    return addKeyChange(options, value, KeyChange::Bind);
}

Text addUnbind(Options& options, const Text& value)
{
    return addKeyChange(options, value, KeyChange::Unbind);
}

Text addResetKeys(Options& options, const Text&)
{
    options.keys.changes.push_back({KeyChange::ResetAll, {}, {}});
    return {};
}

Text setListKeys(Options& options, const Text&)
{
    options.keys.list = true;
    return {};
}

Text setExplainKey(Options& options, const Text& value)
{
    options.keys.explain = value;
    return value.empty() ? "a key is needed" : "";
}

Text setKeys(Options& options, const Text& value)
{
    options.keys.file = value;
    return value.empty() ? "a file is needed" : "";
}

Text setChecksums(Options& options, const Text&)
{
    options.checksums = true;
    return {};
}

Text setHelp(Options& options, const Text&)
{
    options.help = true;
    return {};
}

// An option of the session: how it is written, and what it does. `set` gives what is wrong with the value.
struct Option
{
    std::string_view name;
    bool takesValue;
    Text (*set)(Options&, const Text& value);
};

constexpr Option knownOptions[] = {
    {"--rate", true, setRate},
    {"--gauge", true, setGauge},
    {"--drop-frame", false, setDropFrame},
    {"--non-drop-frame", false, setNonDropFrame},
    {"--default-list", true, setDefaultList},
    {"--again", false, setAgain},
    {"--play", true, setPlay},
    {"--keep", true, setKeep},
    {"--json", true, setJson},
    {"--project", true, setProject},
    {"--format", true, setFormat},
    {"--keys", true, setKeys},
    {"--bind", true, addBind},
    {"--unbind", true, addUnbind},
    {"--reset-keys", false, addResetKeys},
    {"--list-keys", false, setListKeys},
    {"--explain-key", true, setExplainKey},
    {"--checksums", false, setChecksums},
    {"--help", false, setHelp},
    {"-h", false, setHelp},
};

// Reads one option, whose value may be behind "=" or, then leaving it at `next`, the next word.
Text readOption(std::string_view word, const char* const*& next, const char* const* end, Options& options)
{
    const std::size_t equals = word.find('=');
    const std::string_view name = word.substr(0, equals);
    const auto option =
        std::find_if(std::begin(knownOptions), std::end(knownOptions), [&](const Option& o) { return o.name == name; });
    if (option == std::end(knownOptions))
        return "unknown option " + quoted(name);

    const bool hasValue = equals != word.npos;
    if (hasValue && !option->takesValue)
        return printable(name) + " takes no value";
    if (option->takesValue && !hasValue && next == end)
        return printable(name) + " needs a value";
    const Text value = hasValue ? Text(word.substr(equals + 1)) : option->takesValue ? Text(*next++) : Text();
    const Text reason = option->set(options, value);
    return reason.empty() ? reason : printable(name) + ": " + reason;
}

// Takes an option from a setting, if that is set.
Text takeSetting(const char* name, Text (*set)(Options&, const Text& value), Options& options)
{
    const Text value(config_string(name, ""));
    const Text reason = value.empty() ? Text() : set(options, value);
    return reason.empty() ? reason : "the setting " + Text(name) + ": " + reason;
}

Text completeFromSettings(Options& options)
{
    Text reason;
    if (options.rate == Mw::FRInvalid)
        reason = takeSetting("edit_list_rate", setRate, options);
    if (reason.empty() && options.gauge == FILM_INVALID)
        reason = takeSetting("edit_list_gauge", setGauge, options);
    return reason;
}

// What can only be told once every word is read.
Text complete(Options& options)
{
    if (options.again)
        recallOptions(options);
    if (const Text reason = completeFromSettings(options); !reason.empty())
        return reason;
    if (const Text reason = openProject(options.project, options.format, options.rate); !reason.empty())
        return reason;
    if (options.rate == Mw::FRInvalid)
        options.rate = Mw::CurrentProject::getFrameRate();
    if (options.gauge == FILM_INVALID)
        options.gauge = FILM_35MM;
    if (options.list.empty())
        options.list = options.defaultList;
    if (options.list.empty())
        return options.keys.standAlone() && options.keys.file.empty() ? "" : "no edit list is named";
    if (options.count == FrameCount::DropFrame && Mw::droppedLabelsPerMinute({options.rate, true}) == 0)
        return "--drop-frame: there is no drop frame at " + toUTF8(Mw::getDisplayString(options.rate));
    return {};
}

} // namespace

Text readOptions(int argc, const char* const* argv, Options& options)
{
    const char* const* const end = argv + argc;
    bool onlyLists = false;
    for (const char* const* next = argc > 0 ? argv + 1 : end; next != end;)
    {
        const std::string_view word = *next++;
        if (!onlyLists && word == "--")
            onlyLists = true;
        else if (!onlyLists && word.starts_with('-'))
        {
            if (const Text reason = readOption(word, next, end, options); !reason.empty())
                return reason;
        }
        else if (!options.list.empty())
            return "there is more than one edit list: " + quoted(options.list) + " and " + quoted(word);
        else
            options.list = word;
    }
    return options.help ? Text() : complete(options);
}

const char* helpText()
{
    return "Usage: editsession [OPTIONS] EDIT_LIST\n"
           "Reads a CMX3600 edit list and prints its events with lengths, running total and film footage.\n"
           "\n"
           "  --rate RATE         frame rate of the list: 24, 24M (23.98), 25, 30, 30M (29.97), 50, 60M (59.94), ...;\n"
           "                      that of the project, 25 as a rule, unless given\n"
           "  --drop-frame        the list counts in drop frame until an FCM line says otherwise\n"
           "  --non-drop-frame    it does not; with neither, labels with ; or , before the frames are drop frame\n"
           "  --gauge GAUGE       film of the footage: 16, 35, or as in edit lists F16, F35, F16R, F353; 35 unless\n"
           "                      given\n"
           "  --again             what is not given, the list included, is as in the run before\n"
           "  --play FIRST-LAST   what a player's position and marks show while it plays these events\n"
           "  --keep DIRECTORY    keeps the file that the events were stored in, for swapcheck\n"
           "  --json FILE         writes the list, its cookies and the totals to a file as JSON\n"
           "  --project FILE      a settings file with the frame_rate and the output_format of the project\n"
           "  --format FORMAT     output format of the project, such as \"1080i 25fps\", which its rate must permit;\n"
           "                      that of the file, or the first permitted, unless given\n"
           "  --keys FILE         plays the keys that the file names, one a line, over the list: their commands step,\n"
           "                      mark, play and export\n"
           "  --bind COMMAND=KEY  from now on the key runs the command, in all runs: --bind \"Mark in=Shift+F5\"\n"
           "  --unbind COMMAND=KEY  it no longer does\n"
           "  --reset-keys        all keys are as they were at first\n"
           "  --list-keys         the commands with their keys; no edit list is needed for this and the three above\n"
           "  --explain-key KEY   what a key does, and why; no edit list is needed\n"
           "  --checksums         a checksum of every event's frames, computed last; Ctrl-C ends it\n"
           "  --default-list FILE the list to read if none is named\n"
           "  --help              this text\n"
           "\n"
           "The settings edit_list_rate, edit_list_gauge and edit_list_limit_mb (8) stand in for options not given.\n"
           "The list goes to standard output. A line that can't be read is refused on standard error as\n"
           "\"FILE:LINE: reason\", and the rest is still read.\n"
           "Exit status: 0 all is well, 1 lines were refused, 2 the options are wrong or a file can't be read,\n"
           "130 it was interrupted.\n";
}
