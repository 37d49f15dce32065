// Area settings: what a config_int costs, and a configuration table as text.
//
// Workload: bench/settings.h. Values equal the default that is asked with, since a difference is logged.
// The store is the one on disk, with 1,000 values. The legacy file with its 1,000 lies over the same store
// in a configuration of its own, since the process reads the one of GlobalConfig() only once. Texts are
// read from a file that the system holds in memory, and what was read is dropped within the measured time.

#include "bench/settings.h"

#include "OS/Desktop.h"
#include "OS/OS.h"
#include "OS/testing/ForwardingDesktop.h"
#include "bench/harness/Keep.h"
#include "bench/harness/Registry.h"
#include "libmw/Text.h"
#include "misc/settings/RegistryConfig.h"
#include "misc/settings/config.h"
#include "misc/settings/configb.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <random>

namespace bench::settings
{

namespace
{

std::vector<std::string> makeNames(const char* start)
{
    static const char* const modules[] = {"playback", "Timeline", "capture", "render", "Titles"};
    static const char* const things[] = {"Width", "threads", "cache_size", "PreRoll"};
    std::vector<std::string> result;
    for (int i = 0; i < 1000; ++i)
        result.push_back(start + std::string(modules[i % 5]) + "." + things[i / 5 % 4] + std::to_string(i / 20));
    std::shuffle(result.begin(), result.end(), std::mt19937(1));
    return result;
}

Pairs makeOrdered()
{
    Pairs result;
    char name[32];
    for (int i = 0; i < 10000; ++i)
    {
        std::snprintf(name, sizeof name, "module%02d.setting%05d", i / 200, i);
        result.emplace_back(name, i % 3 == 0 ? std::to_string(i * 37) : "C:\\Mwproj\\reel " + std::to_string(i));
    }
    return result;
}

// Goes with the process, however the run ends.
struct Folder
{
    std::filesystem::path path;

    Folder()
    {
        std::string pattern = std::filesystem::temp_directory_path() / "mwbench-XXXXXX";
        if (::mkdtemp(pattern.data()) == nullptr)
            std::abort();
        path = pattern;
    }
    ~Folder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
};

} // namespace

const std::vector<std::string>& names()
{
    static const auto result = makeNames("");
    return result;
}

const std::vector<std::string>& absentNames()
{
    static const auto result = makeNames("recent.");
    return result;
}

const Pairs& ordered()
{
    static const Pairs result = makeOrdered();
    return result;
}

const Pairs& shuffled()
{
    static const Pairs result = []
    {
        Pairs pairs = ordered();
        std::shuffle(pairs.begin(), pairs.end(), std::mt19937(2));
        return pairs;
    }();
    return result;
}

const std::filesystem::path& folder()
{
    static const Folder result;
    return result.path;
}

std::string writeFile(const std::string& name, const std::string& text)
{
    const std::string path = folder() / name;
    std::ofstream(path, std::ios::binary) << text;
    return path;
}

std::string iniOf(const Pairs& entries)
{
    std::string text = "[settings]\n";
    for (const auto& [name, value] : entries)
        text += name + "=" + value + "\n";
    return text;
}

namespace
{

std::string configbOf(const Pairs& entries)
{
    std::string text = "{\n";
    for (const auto& [name, value] : entries)
        text += name + (value[0] == 'C' ? " " : ":int ") + value + "\n";
    return text + "}\n";
}

// Those who asked for a setting before main ask anew.
void prepareGlobalConfig()
{
    ::setenv("MW_CONFIG_DIR", folder().c_str(), 1);
    ::setenv("MW_MACHINE_CONFIG_DIR", folder().c_str(), 1);
    OS().replace(new ForwardingDesktop);
    std::vector<iSettings::Change> changes;
    for (const std::string& name : names())
        changes.push_back({name.c_str(), "", std::to_string(value).c_str()});
    OS().desktop().openSettings(L"config.dat", iDesktop::eMachineSettings)->apply(changes);
}

const RegistryConfig& withLegacyFile()
{
    static const RegistryConfig config = []
    {
        Pairs legacy;
        for (const std::string& name : names())
            legacy.emplace_back(name, std::to_string(value));
        const std::string path = writeFile("legacy.dat", configbOf(legacy));
        return RegistryConfig(Mw::currentSettings(L"config.dat", iDesktop::eMachineSettings), fromUTF8(path.c_str()));
    }();
    return config;
}

template <class Ask>
void addLookup(bench::Registry& registry, const char* caseName, const char* what, const std::vector<std::string>& asked,
               Ask ask)
{
    registry.declare({caseName, what, {{1.0, bench::bestPeer}, {1.0 / 3, "QSettings"}}});
    registry.ours(caseName,
                  [&asked, ask, i = std::size_t(0)]() mutable
                  {
                      bench::keepNumber(ask(asked[i].c_str()));
                      i = i + 1 < asked.size() ? i + 1 : 0;
                  });
}

void addLookups(bench::Registry& registry)
{
    const auto fromGlobal = [](const char* name) { return config_int(name, value); };
    const auto fromLegacy = [](const char* name) { return withLegacyFile().getValue(name, value, ""); };
    addLookup(registry, "settings/config_int of an absent key",
              "Asks for one setting that nobody set, beside a thousand, and gets the default.", absentNames(),
              fromGlobal);
    addLookup(registry, "settings/config_int from the store",
              "Asks for one setting of a thousand in the store on disk.", names(), fromGlobal);
    addLookup(registry, "settings/config_int from a legacy file",
              "Asks for one setting of a thousand in the legacy file.", names(), fromLegacy);
}

void addTexts(bench::Registry& registry)
{
    registry.declare({"settings/read 10,000 lines",
                      "Reads a configb from a file in the order of its writers, and drops it.",
                      {{0.65, bench::bestPeer}}});
    registry.declare({"settings/read 10,000 lines shuffled",
                      "Reads a configb from a file in no order, and drops it.",
                      {{1.2, bench::bestPeer}}});
    registry.declare(
        {"settings/print 10,000 lines", "Makes the text of a configb in memory.", {{1.0, bench::bestPeer}}});

    const auto addRead = [&](const char* caseName, const char* fileName, const Pairs& entries)
    {
        registry.ours(caseName,
                      [path = writeFile(fileName, configbOf(entries))]
                      {
                          const configb table(path.c_str());
                          bench::keepNumber(table.isEmpty());
                      });
    };
    addRead("settings/read 10,000 lines", "ordered.configb", ordered());
    addRead("settings/read 10,000 lines shuffled", "shuffled.configb", shuffled());
    static const configb printed((folder() / "ordered.configb").c_str());
    registry.ours("settings/print 10,000 lines",
                  []
                  {
                      LightweightString<char> text = printed.asString();
                      bench::keep(text);
                  });
}

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        prepareGlobalConfig();
        addLookups(registry);
        addTexts(registry);
    });

} // namespace

} // namespace bench::settings
