// std::map with an order that ignores case, read with getline, numbers by strtol.

#include "bench/harness/Keep.h"
#include "bench/harness/Registry.h"
#include "bench/settings.h"

#include <cstdlib>
#include <fstream>
#include <map>
#include <string_view>
#include <strings.h>

namespace
{

struct NoCase
{
    bool operator()(const std::string& a, const std::string& b) const { return strcasecmp(a.c_str(), b.c_str()) < 0; }
};
using Map = std::map<std::string, std::string, NoCase>;

Map readFile(const std::string& path)
{
    Map map;
    std::ifstream in(path);
    for (std::string line; std::getline(in, line);)
        if (const std::size_t equals = line.find('='); equals != line.npos)
            map.emplace(line.substr(0, equals), line.substr(equals + 1));
    return map;
}

void addLookup(bench::Registry& registry, const char* caseName, const std::vector<std::string>& asked)
{
    static const Map map = []
    {
        Map result;
        for (const std::string& name : bench::settings::names())
            result[name] = std::to_string(bench::settings::value);
        return result;
    }();
    registry.peer(caseName, "std::map",
                  [&asked, i = std::size_t(0)]() mutable
                  {
                      const auto found = map.find(asked[i]);
                      const long value = found != map.end() ? std::strtol(found->second.c_str(), nullptr, 10)
                                                            : bench::hidden(bench::settings::value);
                      bench::keepNumber(value);
                      i = i + 1 < asked.size() ? i + 1 : 0;
                  });
}

void addRead(bench::Registry& registry, const char* caseName, const char* fileName,
             const bench::settings::Pairs& entries)
{
    registry.peer(caseName, "std::map",
                  [path = bench::settings::writeFile(fileName, bench::settings::iniOf(entries))]
                  {
                      const Map map = readFile(path);
                      bench::keepNumber(map.size());
                  });
}

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        addLookup(registry, "settings/config_int of an absent key", bench::settings::absentNames());
        addLookup(registry, "settings/config_int from the store", bench::settings::names());
        addLookup(registry, "settings/config_int from a legacy file", bench::settings::names());
        addRead(registry, "settings/read 10,000 lines", "std.ini", bench::settings::ordered());
        addRead(registry, "settings/read 10,000 lines shuffled", "std-shuffled.ini", bench::settings::shuffled());
    });

} // namespace
