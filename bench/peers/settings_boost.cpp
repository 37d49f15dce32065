// boost::property_tree with its ini format.

#include "bench/harness/Keep.h"
#include "bench/harness/Registry.h"
#include "bench/settings.h"

#include <boost/property_tree/ini_parser.hpp>
#include <boost/property_tree/ptree.hpp>

#include <sstream>

namespace
{

using namespace bench::settings;
using boost::property_tree::ptree;

// Names hold dots, which would else part them.
ptree::path_type pathOf(const std::string& name)
{
    return ptree::path_type(name, '/');
}

void addLookup(bench::Registry& registry, const char* caseName, const std::vector<std::string>& asked)
{
    static const ptree tree = []
    {
        ptree made;
        for (const std::string& name : names())
            made.put(pathOf(name), value);
        return made;
    }();
    registry.peer(caseName, "boost::property_tree",
                  [&asked, i = std::size_t(0)]() mutable
                  {
                      bench::keepNumber(tree.get(pathOf(asked[i]), value));
                      i = i + 1 < asked.size() ? i + 1 : 0;
                  });
}

ptree readFile(const std::string& path)
{
    ptree tree;
    read_ini(path, tree);
    return tree;
}

void addRead(bench::Registry& registry, const char* caseName, const char* fileName, const Pairs& entries)
{
    registry.peer(caseName, "boost::property_tree",
                  [path = writeFile(fileName, iniOf(entries))]
                  {
                      const ptree tree = readFile(path);
                      bench::keepNumber(tree.size());
                  });
}

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        addLookup(registry, "settings/config_int of an absent key", absentNames());
        addLookup(registry, "settings/config_int from the store", names());
        addLookup(registry, "settings/config_int from a legacy file", names());
        addRead(registry, "settings/read 10,000 lines", "boost.ini", ordered());
        addRead(registry, "settings/read 10,000 lines shuffled", "boost-shuffled.ini", shuffled());
        static const ptree printed = readFile(folder() / "boost.ini");
        registry.peer("settings/print 10,000 lines", "boost::property_tree",
                      []
                      {
                          std::ostringstream out;
                          write_ini(out, printed);
                          std::string text = std::move(out).str();
                          bench::keep(text);
                      });
    });

} // namespace
