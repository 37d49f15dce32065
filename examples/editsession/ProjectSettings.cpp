#include "examples/editsession/ProjectSettings.h"

#include "libmw/Text.h"
#include "misc/base/strxcmp.h"
#include "misc/media/CurrentProject.h"
#include "misc/settings/configb.h"

#include <algorithm>

namespace
{

using Mw::CurrentProject;

// A line for each.
Text permittedFormats()
{
    std::vector<unsigned> permitted;
    OutputFormat::getAllowedOutputFormatsForProjectFrameRate(CurrentProject::getFrameRate(), permitted);
    Text lines;
    for (const unsigned index : permitted)
        lines += Text("\n  ") + toUTF8(OutputFormat::getFormat(index).getDisplayString());
    return lines;
}

// By the text that people read, in letters of either case, or by the one that projects store; null for none.
const OutputFormat::Details* findFormat(const Text& text)
{
    const LightweightString<wchar_t> display = fromUTF8(text);
    const OutputFormat::Details stored(text);
    const OutputFormat::Details* const begin = OutputFormat::getSupportedFormats();
    const OutputFormat::Details* const end = begin + OutputFormat::getNumFormats();
    const auto* const found =
        std::find_if(begin, end,
                     [&](const OutputFormat::Details& format)
                     { return format == stored || wstrxcmp(format.getDisplayString().c_str(), display.c_str()) == 0; });
    return found != end ? found : nullptr;
}

Text setProjectRate(const Text& value)
{
    const std::vector<Mw::FrameRate> rates = Mw::getProjectFrameRates();
    const Mw::FrameRate rate = Mw::getFrameRateFromPersistableString(value);
    if (std::find(rates.begin(), rates.end(), rate) == rates.end())
    {
        Text reason = quoted(value) + " is no rate of projects, which are";
        for (const Mw::FrameRate one : rates)
            reason += Text(one == rates.front() ? " " : ", ") + Mw::getPersistableString(one);
        return reason;
    }
    CurrentProject::setFrameRate(rate, true);
    return {};
}

Text setOutputFormat(const Text& value)
{
    const OutputFormat::Details* const format = findFormat(value);
    const Mw::FrameRate rate = CurrentProject::getFrameRate();
    if (format != nullptr && OutputFormat::isOutputFormatAllowedForProjectFrameRate(*format, rate))
    {
        CurrentProject::setOutputImageFormat(*format, true);
        return {};
    }
    return quoted(value) + (format != nullptr ? " is not permitted" : " is no output format") + "; a project at " +
           toUTF8(Mw::getDisplayString(rate)) + " permits" + permittedFormats();
}

// Sets what the file has under the key, if it has it.
Text setFromFile(const Text& file, const configb& settings, const char* key, Text (*set)(const Text& value))
{
    const char* const value = settings.in(key);
    const Text reason = value != nullptr ? set(value) : Text();
    return reason.empty() ? reason : printable(file) + ": " + key + ": " + reason;
}

} // namespace

Text openProject(const Text& file, const Text& format, Mw::FrameRate listRate)
{
    const Mw::Ptr<configb> settings = file.empty() ? Mw::makePtr<configb>() : Mw::makePtr<configb>(file.c_str());
    if (settings->readFailed())
        return printable(file) + ": no settings that can be read";

    if (listRate != Mw::FRInvalid)
        CurrentProject::setFrameRate(Mw::getEquivalentProjectFrameRate(listRate), true);
    if (const Text reason = setFromFile(file, *settings, "frame_rate", setProjectRate); !reason.empty())
        return reason;
    OutputFormat::validateProjectSettings();
    if (format.empty())
        return setFromFile(file, *settings, "output_format", setOutputFormat);
    const Text reason = setOutputFormat(format);
    return reason.empty() ? reason : "--format: " + reason;
}

Text projectText()
{
    return Text("project at ") + toUTF8(Mw::getDisplayString(CurrentProject::getFrameRate())) + ", output " +
           toUTF8(CurrentProject::getOutputImageFormat().outputFormat().getDisplayString());
}
