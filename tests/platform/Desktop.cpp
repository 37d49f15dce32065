#include "OS/Desktop.h"

#include "OS/FileMgr.h"
#include "OS/testing/MemoryFileMgr.h"
#include "platform/Environment.h"

#include <gtest/gtest.h>

#include <string>

namespace
{

// The environment that paths are made from, with what a case sets in it and nothing else.
Environment only(Environment::Values values)
{
    for (const char* const name : {"HOME", "XDG_DATA_HOME", "XDG_CONFIG_HOME", "XDG_CONFIG_DIRS", "MW_DATA_DIR",
                                   "MW_CONFIG_DIR", "MW_MACHINE_CONFIG_DIR"})
        values.try_emplace(name, std::nullopt);
    return Environment(values);
}

} // namespace

TEST(Desktop, pathsFollowTheBaseDirectoryRules)
{
    MemoryFileMgr memory;
    OSReplacement<iFileMgr> replaced(memory);
    memory.ensureDirectory(L"/second/App");
    const std::pair<Environment::Values, const wchar_t*> cases[] = {
        {{{"HOME", "/h"}, {"XDG_DATA_HOME", "/d"}, {"XDG_CONFIG_HOME", "/c/"}, {"XDG_CONFIG_DIRS", "/one:/two"}},
         L"/d/App /c/App /one/App"},
        // The directory that has the application's comes before one that is named earlier.
        {{{"HOME", "/h"}, {"XDG_CONFIG_DIRS", "/first::relative:/second:/third"}},
         L"/h/.local/share/App /h/.config/App /second/App"},
        // Relative and empty values count as not set.
        {{{"HOME", "/h"}, {"XDG_DATA_HOME", "d"}, {"XDG_CONFIG_HOME", ""}, {"XDG_CONFIG_DIRS", "one:two"}},
         L"/h/.local/share/App /h/.config/App /etc/xdg/App"},
        {{{"XDG_DATA_HOME", "/d"}, {"MW_DATA_DIR", "/md"}, {"MW_CONFIG_DIR", "/mc"}, {"MW_MACHINE_CONFIG_DIR", "/mm"}},
         L"/md/App /mc/App /mm/App"},
    };
    for (const auto& [values, paths] : cases)
    {
        const Environment environment = only(values);
        iDesktop& desktop = OS().desktop();
        EXPECT_EQ(desktop.getUserDataPath(L"App") + L" " + desktop.getUserConfigPath(L"App") + L" " +
                      desktop.getMachineConfigPath(L"App"),
                  paths);
    }
}
