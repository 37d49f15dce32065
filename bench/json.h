#pragma once

// What the cases of JSON are given, the same for all sides: the settings of an editing project, about 1 MB of them,
// as a text with four blanks for each level and as calls to a writer; lists of numbers and of texts.

#include <array>
#include <cstddef>
#include <cstdio>
#include <string>
#include <vector>

namespace bench::json
{

enum Key
{
    version,
    projectName,
    clips,
    name,
    path,
    enabled,
    locked,
    start,
    length,
    rate,
    gain,
    colour,
    comment,
    channels,
    effects,
    type,
    amount,
    curve,
    isOn,
    keyCount
};
inline constexpr std::array<const char*, keyCount> keys{
    "version", "projectName", "clips",   "name",     "path",    "enabled", "locked", "start", "length", "rate",
    "gain",    "colour",      "comment", "channels", "effects", "type",    "amount", "curve", "isOn"};
inline constexpr std::array<const wchar_t*, keyCount> wideKeys{
    L"version", L"projectName", L"clips",  L"name",  L"path",   L"enabled", L"locked",
    L"start",   L"length",      L"rate",   L"gain",  L"colour", L"comment", L"channels",
    L"effects", L"type",        L"amount", L"curve", L"isOn"};

// The texts of the project, which the writers ask for by number: those of the clips in order, then a few that come
// again and again. One comment in ten isn't ASCII.
inline constexpr int clipCount = 1100;
enum CommonText
{
    colourText,
    dissolve,
    linear,
    commonCount
};
inline const std::vector<std::string>& texts()
{
    static const std::vector<std::string> made = []
    {
        std::vector<std::string> all;
        char line[96];
        for (int clip = 0; clip < clipCount; ++clip)
        {
            std::snprintf(line, sizeof line, "Interview %d", clip);
            all.push_back(line);
            std::snprintf(line, sizeof line, "/media/reel %d/A%03d_C%03d.mov", clip / 40, clip / 40, clip);
            all.push_back(line);
            all.push_back(clip % 10 == 0  ? "l'\u00e9t\u00e9 \u00e0 la mer"
                          : clip % 3 == 0 ? ""
                                          : "second camera, handheld");
        }
        all.insert(all.end(), {"#3f7fbf", "dissolve", "linear"});
        return all;
    }();
    return made;
}
inline std::size_t commonText(CommonText which)
{
    return texts().size() - commonCount + which;
}

// Writes the project: `out` has open(key), openItem(), close(), openArray(key), closeArray(), text(key, number of the
// text), number(key, double), item(double), whole(key, int) and truth(key, bool).
template <class Out>
void writeProject(Out& out)
{
    out.openItem();
    out.whole(version, 14);
    out.text(projectName, 0);
    out.openArray(clips);
    for (int clip = 0; clip < clipCount; ++clip)
    {
        const auto text = static_cast<std::size_t>(3 * clip);
        out.openItem();
        out.text(name, text);
        out.text(path, text + 1);
        out.truth(enabled, clip % 7 != 0);
        out.truth(locked, false);
        out.whole(start, 90000 + 250 * clip);
        out.whole(length, 50 + clip % 400);
        out.number(rate, clip % 2 == 0 ? 25 : 29.97);
        out.number(gain, -0.25 * (clip % 48));
        out.text(colour, commonText(colourText));
        out.text(comment, text + 2);
        out.openArray(channels);
        for (int channel = 1; channel <= 4; ++channel)
            out.item(channel);
        out.closeArray();
        out.openArray(effects);
        for (int effect = 0; effect < 2; ++effect)
        {
            out.openItem();
            out.text(type, commonText(dissolve));
            out.number(amount, 0.125 + 0.001 * clip);
            out.text(curve, commonText(linear));
            out.truth(isOn, effect == 0);
            out.close();
        }
        out.closeArray();
        out.close();
    }
    out.closeArray();
    out.close();
}

// The project as a text of 1 MB.
const std::string& project();

// An array of 100,000 numbers: whole ones, some with three decimals, and one in ten with all the digits of a double.
const std::string& numbers();

// An array of 50,000 texts of about 20 characters, each with two escapes.
const std::string& escapedTexts();

// An object with 20 members: eight texts, eight numbers, four truths, in turn. Each is looked up once.
inline constexpr std::array<const char*, 20> members{"name",    "sampleRate", "path",   "frameRate",    "isEnabled",
                                                     "comment", "startFrame", "colour", "lengthFrames", "isLocked",
                                                     "codec",   "gain",       "owner",  "pan",          "isMuted",
                                                     "reel",    "width",      "camera", "height",       "isSolo"};
inline constexpr std::array<const wchar_t*, 20> wideMembers{
    L"name",    L"sampleRate",   L"path",     L"frameRate", L"isEnabled", L"comment", L"startFrame",
    L"colour",  L"lengthFrames", L"isLocked", L"codec",     L"gain",      L"owner",   L"pan",
    L"isMuted", L"reel",         L"width",    L"camera",    L"height",    L"isSolo"};
inline constexpr const char* kinds = "tntnbtntnbtntnbtntnb"; // text, number, boolean
const std::string& twentyMembers();

} // namespace bench::json
