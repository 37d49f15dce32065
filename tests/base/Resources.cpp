#include "misc/base/ResId.h"

#include "platform/TempFolder.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>

namespace
{

constexpr const char* printsTexts = "MW_TEST_PRINTS_TEXTS";

// The file is read once in a process: another one says what it finds.
const struct Child
{
    Child()
    {
        if (std::getenv(printsTexts) == nullptr)
            return;
        for (const unsigned id : {11700u, 11701u, 5u, 11702u})
            std::printf("[%s]\n", resourceStr(ResId(id)).c_str());
        std::exit(0);
    }
} child;

} // namespace

TEST(Resources, textsAreFoundByNumberAndByResult)
{
    EXPECT_EQ(resourceStr(ResId(10418)), "Copy"); // the first row and the last
    EXPECT_EQ(resourceStr(ResId(13238)), "Inserts the marked material at the present frame");
    EXPECT_EQ(resourceStrW(MwResult(11710), ResStrFmt::upperCase), L"PAGE DOWN");
    EXPECT_EQ(resourceStr(MwResult(11671), ResStrFmt::upperCase), "<resource 11671>");
    EXPECT_EQ(resourceStrW(ResId(4294967295u)), L"<resource 4294967295>");
    EXPECT_TRUE(resourceStr(ResId::none).empty() && resourceStrW(MwResult(999999)).empty());
}

TEST(Resources, aFileReplacesTextsAndItsBadLinesAreReported)
{
    const TempFolder folder;
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe");
    std::filesystem::create_directory(folder.path() / program.filename());
    std::ofstream(folder.path() / program.filename() / "strings.txt")
        << "# German\n\n11700 \t Strg\n11701\n5 new\n11702x bad\n99999999999 bad\n11700 STRG";
    const std::string command =
        std::string(printsTexts) + "=1 MW_CONFIG_DIR='" + folder.path().string() + "' '" + program.string() + "' 2>&1";
    std::FILE* const pipe = ::popen(command.c_str(), "r");
    std::string output(4096, ' ');
    output.resize(std::fread(output.data(), 1, output.size(), pipe));
    EXPECT_EQ(::pclose(pipe), 0);
    EXPECT_NE(output.find("[STRG]\n[]\n[new]\n[Down]\n"), output.npos) << output;
    EXPECT_NE(output.find("strings.txt, line 6 is"), output.npos) << output;
    EXPECT_NE(output.find("strings.txt, line 7 is"), output.npos) << output;
    EXPECT_EQ(output.find("line 5"), output.npos) << output;
}
