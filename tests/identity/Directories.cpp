#include "misc/settings/Directories.h"

#include "identity/Support.h"
#include "misc/identity/Cookie.h"

namespace
{

using Directories = MachineInMemory;

} // namespace

TEST_F(Directories, ofProjectsAreInTheDataUnlessSetOtherwise)
{
    files_.setApplicationName(L"editor");
    for (const char* const notSet : {"", "relative/path"})
    {
        const Environment environment{{{"MW_PROJECTS_DIR", notSet}}};
        EXPECT_EQ(getDefaultLocalProjectsDir(), L"/data/editor/Projects");
        EXPECT_TRUE(files_.isDirectory(L"/data/editor/Projects"));
    }
    const Cookie sound('S', 36, 4, 648);
    EXPECT_EQ(getRoomsDir(sound), L"/projects/P0000010/Rooms");
    EXPECT_EQ(getWaveformDataFileFor(convertCookie(sound, 'V', 4)), L"/data/editor/Waveforms/S0400010.wfm");
    setProjectsBaseDirectory(L"/shared");
    EXPECT_EQ(getProjectDirectory(sound), L"/shared/P0000010");
    setProjectsBaseDirectory(L"");
    EXPECT_EQ(getProjectGroupsDirectory(sound), L"/projects/G0000010");
}

TEST_F(Directories, areListedByPatternAndSuffix)
{
    for (const wchar_t* const name :
         {L"/projects/b[1].ODB", L"/projects/a.odb", L"/projects/a.odb.TMP", L"/projects/od"})
        write(name, "");
    using Names = std::vector<Path>;
    EXPECT_EQ(getDirListing(L"/projects", {L"a*", L"?*"}, {L".odb"}), (Names{L"a.odb", L"b[1].ODB"}));
    EXPECT_EQ(getDirListing(L"/projects", {L"b[?].*", L"od"}), (Names{L"b[1].ODB", L"od"}));
    EXPECT_TRUE(getDirListing(L"/nowhere", {L"*"}).empty());
}
