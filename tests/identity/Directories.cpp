#include "misc/settings/Directories.h"

#include "identity/Support.h"
#include "misc/identity/Cookie.h"

using Directories = MachineInMemory;

TEST_F(Directories, ofProjectsAreInTheDataUnlessSetOtherwise)
{
    files_.setApplicationName(L"editor");
    for (const auto& [chosen, expected] :
         {std::pair("", L"/data/editor/Projects"), {"relative/path", L"/data/editor/Projects"}, {"/mine//", L"/mine"}})
    {
        const Environment environment{{{"MW_PROJECTS_DIR", chosen}}};
        EXPECT_TRUE(getDefaultLocalProjectsDir() == expected && files_.isDirectory(expected)) << chosen;
    }
    const Cookie sound('S', 36, 4, 648);
    EXPECT_EQ(getRoomsDir(sound), L"/projects/P0000010/Rooms");
    EXPECT_EQ(getWaveformDataFileFor(convertCookie(sound, 'V', 4)), L"/data/editor/Waveforms/S0400010.wfm");
    EXPECT_EQ(getProjectGroupsDirectory(sound), L"/projects/G0000010");
    setProjectsBaseDirectory(L"/shared/");
    EXPECT_EQ(getProjectsBaseDirectory() + getProjectDirectory(sound), L"/shared/shared/P0000010");
    setProjectsBaseDirectory(L"");

    for (const wchar_t* const name : {L"b[1].ODB", L"a.odb", L"a.odb.TMP", L"od"})
        write(Mw::joinPath(L"/projects", name), "");
    using Names = std::vector<Path>;
    EXPECT_EQ(getDirListing(L"/projects", {L"a*", L"?*"}, {L".odb"}), (Names{L"a.odb", L"b[1].ODB"}));
    EXPECT_EQ(getDirListing(L"/projects", {L"b[?].*", L"od"}), (Names{L"b[1].ODB", L"od"}));
}
