#include "platform/TempFolder.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <string>
#include <sys/wait.h>

namespace
{

// The object that docs/formats.md shows, and one of another generation and no table.
const std::string shot("$\0\x02\0\x05\0\0\0\x49\0\0\0T.Sh\0"
                       "T\0\x01\0\x20\0\0\0\x38\0\0\0"
                       "0000006437A1B2C05\0Taggable.Shot\0"
                       "Sh\0\x01\0\x0b\0\0\0\x0b\0\0\0\x19\0\0\0take 7\0",
                       85);
const std::string clip("$\0\x01\0\x02\0\x12\0C\0C\0\x01\0\x08\0\x08\0\x19\0\0\0cut\0", 26);
const std::string head = "  position     length  state    id                 class (layers)\n";

struct SwapCheck : testing::Test
{
    std::string file(const char* name) const { return folder_.path() / name; }
    std::string bytesOf(const char* name) const
    {
        std::ifstream in(file(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }

    // Runs it over a file of these bytes; keeps what it prints.
    int run(const std::string& bytes, const std::string& arguments = "")
    {
        std::ofstream(file("swap"), std::ios::binary) << bytes;
        const std::string command = "cd '" + file("") + "' && '" SWAPCHECK "' " + arguments + " swap 2>&1";
        std::FILE* const pipe = popen(command.c_str(), "r");
        char buffer[4096];
        output_.clear();
        for (std::size_t got; (got = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;)
            output_.append(buffer, got);
        return WEXITSTATUS(pclose(pipe));
    }

    const TempFolder folder_;
    std::string output_;
};

} // namespace

TEST_F(SwapCheck, listsWhatIsInAFile)
{
    EXPECT_EQ(run(clip + shot), 0);
    EXPECT_EQ(output_, head +
                           "         0         26  whole    -                  C  ($ 1.0, C 1.0)\n"
                           "        26         85  whole    0000006437A1B2C05  Taggable.Shot  ($ 2.0, T 1.0, Sh 1.0)\n"
                           "2 whole, 0 damaged\n");
    EXPECT_EQ(run(""), 0);
    EXPECT_EQ(run("", "--help"), 0);
    EXPECT_EQ(output_.find("Usage: swapcheck [--salvage OUT] FILE\n"), 0u);
}

TEST_F(SwapCheck, readsOnBehindDamageAndSalvagesTheRest)
{
    std::string damaged = shot;
    damaged[21] = '\x7f'; // of the layer's size
    EXPECT_EQ(run(shot + damaged + clip + "\x1b[2J", "--salvage out"), 1);
    EXPECT_EQ(output_, head +
                           "         0         85  whole    0000006437A1B2C05  Taggable.Shot  ($ 2.0, T 1.0, Sh 1.0)\n"
                           "        85         85  damaged  -                  T.Sh  ($ 2.0)\n"
                           "                          damaged: a layer is longer than the object\n"
                           "       170         26  whole    -                  C  ($ 1.0, C 1.0)\n"
                           "       196          0  damaged  -                    ()\n"
                           "                          damaged: no object begins here\n"
                           "2 whole, 2 damaged, the last 4 bytes can't be read\n"
                           "2 written to out\n");
    EXPECT_EQ(bytesOf("out"), shot + clip);
    EXPECT_EQ(run(clip, "--salvage out"), 2);
    EXPECT_NE(output_.find("swapcheck: out: the file exists\n"), std::string::npos);
    // OUT is written by way of OUT.TMP.
    std::remove(file("out").c_str());
    std::ofstream(file("out.TMP")) << shot;
    EXPECT_EQ(run("", "--salvage out out.TMP 2>&1 #"), 2);
    EXPECT_EQ(bytesOf("out.TMP") + bytesOf("out"), shot);
}

TEST_F(SwapCheck, tellsWhatCannotBeRead)
{
    EXPECT_EQ(run("no object"), 2);
    EXPECT_EQ(run(shot.substr(0, 84)), 2);
    for (const char* const arguments : {"another", "--salvage", "none #"})
        EXPECT_EQ(run(clip, arguments), 2) << arguments;
}
