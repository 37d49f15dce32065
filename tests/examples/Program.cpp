#include "ListReading.h"

#include "examples/editsession/Options.h"
#include "misc/text/JSON.h"
#include "platform/TestHome.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

struct Finished
{
    int status = -1;
    std::string output;
};

#ifdef EDIT_SESSION
// Runs the program in the folder of the lists; `streams` says which of its streams are kept.
Finished runOn(const std::string& arguments, const std::string& streams)
{
    Finished finished;
    const std::string command = "cd '" EDIT_LISTS "' && '" EDIT_SESSION "' " + arguments + " " + streams;
    std::FILE* const pipe = popen(command.c_str(), "r");
    char buffer[4096];
    for (std::size_t got; (got = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;)
        finished.output.append(buffer, got);
    finished.status = WEXITSTATUS(pclose(pipe));
    return finished;
}

std::string numberFile()
{
    return std::getenv("MW_PROJECTS_DIR") + std::string("/cookie.num");
}

void setNextNumber(int number)
{
    TestHome::giveMachineNumber("editsession", 1);
    std::ofstream(numberFile()) << number;
}

std::string nextNumber()
{
    std::ifstream file(numberFile());
    return {std::istreambuf_iterator<char>(file), {}};
}

void setLegacySetting(const char* line)
{
    const std::filesystem::path directory = std::getenv("MW_MACHINE_CONFIG_DIR") + std::string("/editsession");
    std::filesystem::create_directories(directory);
    std::ofstream(directory / "config.dat") << "{\n" << line << "\n}\n";
}

// The same on machine 1, whose next cookie number is 1.
Finished run(const std::string& arguments, const std::string& streams)
{
    setNextNumber(1);
    return runOn(arguments, streams);
}

// Runs the program into a pipe that nobody reads, which kills it when it prints.
void runKilled(const char* list)
{
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    const pid_t child = ::fork();
    if (child == 0)
    {
        ::dup2(ends[1], STDOUT_FILENO);
        ::close(ends[0]);
        ::close(ends[1]);
        ::execl(EDIT_SESSION, EDIT_SESSION, list, nullptr);
        ::_exit(1);
    }
    ::close(ends[0]);
    ::close(ends[1]);
    int status = 0;
    ::waitpid(child, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status));
}

const char* const onlyOutput = "2>/dev/null";
const char* const onlyErrors = "2>&1 >/dev/null";

std::string expectedText(const char* name)
{
    std::ifstream file(EXPECTED_TEXTS + std::string(name));
    return {std::istreambuf_iterator<char>(file), {}};
}

TEST(Program, printsTheShippedListWithoutComplaint)
{
    const Finished list = run("--default-list coastline.edl", onlyOutput);
    EXPECT_EQ(list.status, 0);
    const std::string expected = expectedText("coastline.expected");
    EXPECT_EQ(list.output.substr(0, expected.size()), expected);
    EXPECT_NE(list.output.find("\n104 events in 119 lines, 00:12:11:04, 1142.07 feet of 35mm film\n"),
              std::string::npos);
    EXPECT_EQ(run("coastline.edl", onlyErrors).output, "");

    const Finished ferry = run("--rate=30M --gauge F16 night-ferry.edl", "2>&1");
    EXPECT_EQ(ferry.status, 0);
    EXPECT_NE(ferry.output.find("\n90 events in 100 lines, 00:12:11:25, 548.35 feet of 16mm film\n"), std::string::npos)
        << ferry.output.substr(ferry.output.size() - 100);
}

TEST(Program, refusesLinesByNameAndPrintsTheRest)
{
    const Finished errors = run("damaged.edl", onlyErrors);
    EXPECT_EQ(errors.status, 1);
    EXPECT_EQ(errors.output, expectedText("damaged.expected"));
    EXPECT_NE(run("damaged.edl", onlyOutput).output.find("\n3 events in 4 lines, 00:00:22:09, "), std::string::npos);
}

TEST(Program, failsWithAMessageOfItsOwn)
{
    for (const char* const arguments :
         {"no-such-list.edl", ".", "", "--rate 26 coastline.edl", "--rate 24D2 coastline.edl", "--rate",
          "--gauge 70 coastline.edl", "--drop-frame coastline.edl", "--rate=30 --drop-frame night-ferry.edl",
          "--play 4 coastline.edl", "--project no-such.dat coastline.edl", "--fast coastline.edl", "--help=all",
          "coastline.edl night-ferry.edl"})
    {
        const Finished failed = run(arguments, "2>&1");
        EXPECT_EQ(failed.status, 2) << arguments;
        EXPECT_EQ(failed.output.find("editsession: "), 0u) << failed.output;
    }
    EXPECT_EQ(run("coastline.edl", "2>&1 >/dev/full").output,
              "editsession: standard output: No space left on device\n");
    EXPECT_EQ(run("--help", onlyErrors).output, "");
    EXPECT_EQ(run("--help", onlyOutput).status, 0);
}

TEST(Program, keepsItsStoredEventsForSwapcheck)
{
    const TempFolder folder;
    const std::string kept = folder.path() / "kept";
    const std::string file = kept + "/P0030001.odb";
    EXPECT_NE(run("--keep " + kept + " damaged.edl", onlyOutput)
                  .output.find("\n3 events stored and read back, all equal, in " + file + "\n"),
              std::string::npos);
    EXPECT_EQ(std::system(("'" SWAPCHECK "' '" + file + "' | grep -q '^3 whole, 0 damaged'").c_str()), 0);
    EXPECT_EQ(run("--keep /dev/null damaged.edl", onlyOutput).status, 2);
}

TEST(Program, reportsAsJson)
{
    const TempFolder folder;
    const std::string file = folder.path() / "report.json";
    EXPECT_EQ(run("--json " + file + " damaged.edl", onlyOutput).status, 1);
    const Mw::Ptr<JSON::Element> report = JSON::parseFile(TempFolder::wideOf(file));
    ASSERT_TRUE(report);
    EXPECT_EQ(report->getChild(L"events")->getChild(0u)->getString(L"cookie"), L"E0030001");
    EXPECT_EQ(report->getChild(L"totals")->getNum(L"events"), 3);
    EXPECT_EQ(run("--json /dev/null/x damaged.edl", onlyOutput).status, 2);
}

TEST(Program, worksInAProjectWithAnOutputFormatThatItsRatePermits)
{
    const TempFolder folder;
    const std::string file = folder.path() / "project.dat";
    const auto runIn = [&](const std::string& settings, const std::string& arguments)
    {
        std::ofstream(file) << settings;
        return run("--project " + file + " " + arguments + " damaged.edl", "2>&1");
    };
    const struct
    {
        const char* settings;
        const char* arguments;
        const char* shown;
    } cases[] = {
        {"{\n  frame_rate 25\n  output_format 1080i 25fps\n}\n", "", "25 fps, output 1080i 25fps"},
        {"{\nframe_rate 50\noutput_format PAL 4:3\n}\n", "--format '1080P 50fps'", "50 fps, output 1080p 50fps"},
        {"{\nframe_rate 60\noutput_format 2|0|720|486|8|2|5|2|16:9\n}\n", "--rate 25", "60 fps, output NTSC 16:9"},
        {"{\n}\n", "--rate 30M", "30 fps, output NTSC 4:3"},
    };
    for (const auto& wanted : cases)
    {
        const Finished finished = runIn(wanted.settings, wanted.arguments);
        EXPECT_EQ(finished.status, 1);
        EXPECT_NE(finished.output.find(std::string("\nproject at ") + wanted.shown + "\n"), std::string::npos)
            << finished.output;
    }

    const std::string permittedAt25 =
        "; a project at 25 fps permits\n  PAL 4:3\n  PAL 16:9\n  720p 25fps\n  720p 50fps\n"
        "  1080i 25fps\n  1080p (sf) 25fps\n  1080p 50fps\n  UltraHD 25fps\n";
    const Finished refused = runIn("{\nframe_rate 25\n}\n", "--format '1080i 30fps'");
    EXPECT_EQ(refused.status, 2);
    EXPECT_EQ(refused.output,
              "editsession: --format: \"1080i 30fps\" is not permitted" + permittedAt25 + "Try editsession --help.\n");
    EXPECT_NE(runIn("{\nframe_rate 25\noutput_format 8k\n}\n", "")
                  .output.find("project.dat: output_format: \"8k\" is no output format" + permittedAt25),
              std::string::npos);
    for (const char* const bad : {"", "{\nframe_rate 25\n", "{\nframe_rate 30M\n}\n"})
        EXPECT_EQ(runIn(bad, "").status, 2);
}

TEST(Program, readsAPipe)
{
    EXPECT_EQ(run("/dev/stdin <coastline.edl", "2>&1").output, run("coastline.edl", "2>&1").output);
    EXPECT_EQ(run("/dev/zero", "2>&1").status, 2);
}

TEST(Program, numbersItsEventsOnFromRunToRun)
{
    EXPECT_NE(run("damaged.edl", onlyOutput).output.find("\n001 E0030001 "), std::string::npos);
    EXPECT_EQ(nextNumber(), "4");
    EXPECT_NE(runOn("damaged.edl", onlyOutput).output.find("\n001 E0030004 "), std::string::npos);
    EXPECT_EQ(nextNumber(), "7");
}

TEST(Program, saysThatTheRunBeforeEndedBadly)
{
    const std::string message = "editsession: the run before this one ended badly;";
    EXPECT_EQ(run("coastline.edl", onlyErrors).output, "");
    setNextNumber(10);
    runKilled(EDIT_LISTS "coastline.edl");
    EXPECT_EQ(nextNumber(), "10");
    EXPECT_EQ(runOn("coastline.edl", onlyErrors).output.find(message), 0u);
    EXPECT_EQ(nextNumber(), "114");
    EXPECT_EQ(runOn("coastline.edl", onlyErrors).output, "");
}

TEST(Program, computesTheSameChecksumsInWhateverOrder)
{
    const Finished quiet = run("--checksums coastline.edl", onlyOutput);
    EXPECT_EQ(quiet.status, 0);
    const std::string checksums = quiet.output.substr(quiet.output.find("\nchecksums\n001 "));
    EXPECT_EQ(std::count(checksums.begin(), checksums.end(), '\n'), 106);
    const std::string told = run("--checksums coastline.edl", "2>&1").output;
    EXPECT_NE(told.find("\nchecksums   0 %"), told.npos) << told;
    const std::size_t last = told.find("\nchecksums 100 %, ");
    ASSERT_NE(last, told.npos) << told;
    EXPECT_TRUE(told.substr(last, told.find('\n', last + 1) - last).ends_with(" frames/s, 0:00 left")) << told;
    EXPECT_EQ(told.find('\r'), told.npos);
    EXPECT_TRUE(told.ends_with(checksums));
}

// On a terminal, from where Ctrl-C comes.
TEST(Program, endsInOrderByCtrlC)
{
    const TempFolder folder;
    const std::string list = folder.path() / "days.edl";
    for (int event = 1; event <= 4; ++event)
        std::ofstream(list, std::ios::app)
            << "00" << event << " TAPE V C 00:00:00:00 11:00:00:00 00:00:00:00 11:00:00:00\n";
    setNextNumber(1);
    int terminal = -1;
    const pid_t child = ::forkpty(&terminal, nullptr, nullptr, nullptr);
    if (child == 0)
    {
        ::execl(EDIT_SESSION, EDIT_SESSION, "--checksums", list.c_str(), nullptr);
        ::_exit(1);
    }
    std::string seen;
    char buffer[4096];
    bool isAsked = false;
    for (ssize_t got; (got = ::read(terminal, buffer, sizeof buffer)) > 0;)
    {
        seen.append(buffer, static_cast<std::size_t>(got));
        if (!isAsked && seen.find("\rchecksums   0 %") != seen.npos)
            isAsked = ::write(terminal, "\3", 1) == 1;
    }
    ::close(terminal);
    int status = 0;
    ::waitpid(child, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 130) << status;
    EXPECT_NE(seen.find("\r\033[Keditsession: interrupted"), seen.npos) << seen;
    EXPECT_EQ(nextNumber(), "5");
    EXPECT_EQ(runOn("coastline.edl", onlyErrors).output, "") << "it ended well";
}

TEST(Program, showsWhatDisplaysSeeWhileItPlays)
{
    EXPECT_NE(run("--play 4-6 coastline.edl", onlyOutput)
                  .output.find(" film\n\n"
                               "marks  in 10:00:19:20  out 10:00:38:17\n"
                               "  position  10:00:19:20\n"
                               "  position  10:00:25:15\n"
                               "  position  10:00:32:17\n"
                               "  position  10:00:38:17\n"),
              std::string::npos);
    EXPECT_EQ(run("--play 6-4 coastline.edl", onlyErrors).output,
              "editsession: --play: the list has no events from 6 to 4\n");
}

TEST(Program, playsKeysAsTheUserBoundThem)
{
    const TempFolder folder;
    const std::string keys = folder.path() / "keys";
    std::ofstream(keys) << "F5\nDown\n\nRight\ni\no\n[\nl\nno such key\nHold x tap y\n]\nSpace\ne\nx\n";
    EXPECT_EQ(run("--bind 'Mark in=F5' --unbind 'Mark in=i' --bind 'Stop=hold x tap y'", "2>&1").output, "");
    const Finished played = run("--keys " + keys + " coastline.edl", onlyOutput);
    EXPECT_EQ(played.status, 1);
    EXPECT_NE(played.output.find(expectedText("keys.expected")), std::string::npos) << played.output;
    EXPECT_EQ(run("--keys " + keys + " coastline.edl", onlyErrors).output, keys + ":9: \"no such key\" is no key\n");

    EXPECT_NE(run("--explain-key f5", onlyOutput).output.find("Mark in"), std::string::npos);
    EXPECT_EQ(run("--bind 'Mark out=F5'", onlyErrors).output,
              "editsession: --bind: F5 is bound to \"Mark in\" already\n");
    for (const char* const wrong : {"--bind Mark=F5", "--bind 'Mark in=F55'", "--bind F5", "--unbind 'Mark in=i'",
                                    "--explain-key nothing", "--keys /dev/null", "--keys . coastline.edl"})
        EXPECT_EQ(run(wrong, "2>&1").status, 2) << wrong;
    EXPECT_NE(run("--list-keys", onlyOutput).output.find("\nMark in              F5 "), std::string::npos);
    EXPECT_NE(run("--reset-keys --list-keys", onlyOutput).output.find("\nMark in              'i' "),
              std::string::npos);
}

TEST(Program, usesTheOptionsOfTheRunBeforeWhenAsked)
{
    const std::string ferry = run("--rate=30M --gauge F16 --drop-frame night-ferry.edl", onlyOutput).output;
    EXPECT_NE(ferry, "");
    EXPECT_EQ(run("--again", onlyOutput).output, ferry);
    EXPECT_EQ(run("--again --default-list coastline.edl", onlyOutput).output, ferry);
    EXPECT_NE(run("--again --gauge 35", onlyOutput).output.find(" feet of 35mm film"), std::string::npos);
    EXPECT_NE(run("coastline.edl", onlyOutput).output.find("\n25 fps, 35mm film\n"), std::string::npos);
}

TEST(Program, takesWhatIsNotGivenFromSettings)
{
    setLegacySetting("edit_list_gauge F16");
    EXPECT_NE(run("coastline.edl", onlyOutput).output.find(" feet of 16mm film"), std::string::npos);
    setLegacySetting("edit_list_limit_mb 1");
    EXPECT_NE(run("/dev/zero", onlyErrors).output.find("editsession: /dev/zero: longer than 1048576 bytes\n"),
              std::string::npos);
    setLegacySetting("edit_list_rate 26");
    const Finished failed = run("coastline.edl", onlyErrors);
    EXPECT_EQ(failed.status, 2);
    EXPECT_EQ(failed.output.find("editsession: the setting edit_list_rate: \"26\" is no frame rate"), 0u)
        << failed.output;
}
#endif

TEST(Options, wordsBehindADoubleDashAreNoOptions)
{
    const char* const words[] = {"editsession", "--gauge=35", "--rate", "60M", "--drop-frame", "--", "--odd.edl"};
    Options options;
    EXPECT_EQ(readOptions(7, words, options), "");
    EXPECT_TRUE(options.rate == Mw::FR60M && options.count == FrameCount::DropFrame && options.list == "--odd.edl");
}

} // namespace
