// GKeyFile, which keeps its entries in hash tables.

#include "bench/harness/Keep.h"
#include "bench/harness/Registry.h"
#include "bench/settings.h"

#include <glib.h>

namespace
{

using namespace bench::settings;

GKeyFile* thousand()
{
    static GKeyFile* const file = []
    {
        GKeyFile* const made = g_key_file_new();
        for (const std::string& name : names())
            g_key_file_set_integer(made, "settings", name.c_str(), value);
        return made;
    }();
    return file;
}

void addLookup(bench::Registry& registry, const char* caseName, const std::vector<std::string>& asked)
{
    registry.peer(caseName, "GKeyFile",
                  [&asked, i = std::size_t(0)]() mutable
                  {
                      GError* error = nullptr;
                      int found = g_key_file_get_integer(thousand(), "settings", asked[i].c_str(), &error);
                      if (error != nullptr)
                      {
                          g_error_free(error);
                          found = value;
                      }
                      bench::keepNumber(found);
                      i = i + 1 < asked.size() ? i + 1 : 0;
                  });
}

GKeyFile* readFile(const std::string& path)
{
    GKeyFile* const file = g_key_file_new();
    g_key_file_load_from_file(file, path.c_str(), G_KEY_FILE_NONE, nullptr);
    return file;
}

void addRead(bench::Registry& registry, const char* caseName, const char* fileName, const Pairs& entries)
{
    registry.peer(caseName, "GKeyFile",
                  [path = writeFile(fileName, iniOf(entries))]
                  {
                      GKeyFile* file = readFile(path);
                      bench::keep(file);
                      g_key_file_free(file);
                  });
}

const bench::Registration registration(
    [](bench::Registry& registry)
    {
        addLookup(registry, "settings/config_int of an absent key", absentNames());
        addLookup(registry, "settings/config_int from the store", names());
        addLookup(registry, "settings/config_int from a legacy file", names());
        addRead(registry, "settings/read 10,000 lines", "glib.ini", ordered());
        addRead(registry, "settings/read 10,000 lines shuffled", "glib-shuffled.ini", shuffled());
        static GKeyFile* const printed = readFile(folder() / "glib.ini");
        registry.peer("settings/print 10,000 lines", "GKeyFile",
                      []
                      {
                          gchar* text = g_key_file_to_data(printed, nullptr, nullptr);
                          bench::keep(text);
                          g_free(text);
                      });
    });

} // namespace
