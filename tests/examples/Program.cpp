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

#ifdef EDIT_SESSION
std::string contents(const std::string& path)
{
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

struct Finished
{
    int status;
    std::string output;
    std::string errors;
};

// Runs the program in the folder of the lists.
Finished runOn(const std::string& arguments)
{
    const TempFolder folder;
    const std::string errors = folder.path() / "errors", output = folder.path() / "output";
    const std::string command =
        "cd '" EDIT_LISTS "' && '" EDIT_SESSION "' 2>" + errors + " >" + output + " " + arguments;
    const int status = WEXITSTATUS(std::system(command.c_str()));
    return {status, contents(output), contents(errors)};
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

// The same on machine 1, whose next cookie number is 1.
Finished run(const std::string& arguments)
{
    setNextNumber(1);
    return runOn(arguments);
}

// Runs the program into a pipe that nobody reads, which kills it when it prints.
void runKilled(const char* list)
{
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    ::close(ends[0]);
    const pid_t child = ::fork();
    if (child == 0)
    {
        ::dup2(ends[1], STDOUT_FILENO);
        ::execl(EDIT_SESSION, EDIT_SESSION, list, nullptr);
        ::_exit(1);
    }
    ::close(ends[1]);
    int status = 0;
    ::waitpid(child, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status));
}

testing::AssertionResult has(const std::string& text, const std::string& part)
{
    return text.find(part) != text.npos ? testing::AssertionSuccess() : testing::AssertionFailure() << text;
}

std::string expectedText(const char* name)
{
    return contents(EXPECTED_TEXTS + std::string(name));
}

TEST(Program, printsTheShippedListsWithoutComplaint)
{
    const Finished list = run("--default-list coastline.edl");
    EXPECT_EQ(list.status, 0);
    EXPECT_TRUE(list.output.starts_with(expectedText("coastline.expected"))) << list.output;
    EXPECT_TRUE(has(list.output, "\n104 events in 119 lines, 00:12:11:04, 1142.07 feet of 35mm film\n"));
    EXPECT_EQ(list.errors, "");

    const Finished ferry = run("--rate=30M --gauge F16 night-ferry.edl");
    EXPECT_EQ(ferry.status, 0);
    EXPECT_TRUE(has(ferry.output, "\n90 events in 100 lines, 00:12:11:25, 548.35 feet of 16mm film\n"));
}

TEST(Program, refusesLinesByNameAndPrintsTheRest)
{
    const Finished damaged = run("damaged.edl");
    EXPECT_EQ(damaged.status, 1);
    EXPECT_EQ(damaged.errors, expectedText("damaged.expected"));
    EXPECT_TRUE(has(damaged.output, "\n3 events in 4 lines, 00:00:22:09, "));
}

TEST(Program, failsWithAMessageOfItsOwn)
{
    for (const char* const arguments : {"no-such-list.edl",
                                        ".",
                                        "",
                                        "/dev/zero",
                                        "--rate 24D2 coastline.edl",
                                        "--rate",
                                        "--gauge 70 coastline.edl",
                                        "--drop-frame coastline.edl",
                                        "--play 4 coastline.edl",
                                        "--play 6-4 coastline.edl",
                                        "--project no-such.dat coastline.edl",
                                        "--fast coastline.edl",
                                        "--help=all",
                                        "coastline.edl night-ferry.edl",
                                        "--keep /dev/null damaged.edl",
                                        "--json /dev/null/x damaged.edl",
                                        "--bind Mark=F5",
                                        "--bind 'Mark in=F55'",
                                        "--unbind 'Mark in=x'",
                                        "--explain-key nothing",
                                        "--keys /dev/null"})
    {
        const Finished failed = run(arguments);
        EXPECT_EQ(failed.status, 2) << arguments;
        EXPECT_TRUE(has(failed.errors, "editsession: ")) << arguments;
    }
    EXPECT_EQ(run("coastline.edl >/dev/full").errors, "editsession: standard output: No space left on device\n");
    EXPECT_EQ(run("--help").status, 0);
}

TEST(Program, keepsItsStoredEventsForSwapcheckAndReportsAsJson)
{
    const TempFolder folder;
    const std::string kept = folder.path() / "kept", file = kept + "/P0030001.odb";
    const std::string json = folder.path() / "report.json";
    const Finished finished = run("--keep " + kept + " --json " + json + " damaged.edl");
    EXPECT_EQ(finished.status, 1);
    EXPECT_TRUE(has(finished.output, "\n3 events stored and read back, all equal, in " + file + "\n"));
    EXPECT_EQ(std::system(("'" SWAPCHECK "' '" + file + "' | grep -q '^3 whole, 0 damaged'").c_str()), 0);
    const Mw::Ptr<JSON::Element> report = JSON::parseFile(TempFolder::wideOf(json));
    ASSERT_TRUE(report);
    EXPECT_EQ(report->getChild(L"events")->getChild(0u)->getString(L"cookie"), L"E0030001");
    EXPECT_EQ(report->getChild(L"totals")->getNum(L"events"), 3);
}

TEST(Program, worksInAProjectWithAnOutputFormatThatItsRatePermits)
{
    const TempFolder folder;
    const std::string file = folder.path() / "project.dat";
    const auto runIn = [&](const std::string& settings, const std::string& arguments)
    {
        std::ofstream(file) << settings;
        return run("--project " + file + " " + arguments + " damaged.edl");
    };
    const std::tuple<const char*, const char*, const char*> rows[] = {
        {"{\n  frame_rate 25\n  output_format 1080i 25fps\n}\n", "", "25 fps, output 1080i 25fps"},
        {"{\nframe_rate 50\noutput_format PAL 4:3\n}\n", "--format '1080P 50fps'", "50 fps, output 1080p 50fps"},
        {"{\nframe_rate 60\noutput_format 2|0|720|486|8|2|5|2|16:9\n}\n", "--rate 25", "60 fps, output NTSC 16:9"},
        {"{\n}\n", "--rate 30M", "30 fps, output NTSC 4:3"},
    };
    for (const auto& [settings, arguments, shown] : rows)
        EXPECT_TRUE(has(runIn(settings, arguments).output, std::string("\nproject at ") + shown + "\n"));

    const std::string permittedAt25 =
        "; a project at 25 fps permits\n  PAL 4:3\n  PAL 16:9\n  720p 25fps\n  720p 50fps\n"
        "  1080i 25fps\n  1080p (sf) 25fps\n  1080p 50fps\n  UltraHD 25fps\n";
    const Finished refused = runIn("{\nframe_rate 25\n}\n", "--format '1080i 30fps'");
    EXPECT_EQ(refused.status, 2);
    EXPECT_TRUE(has(refused.errors, "editsession: --format: \"1080i 30fps\" is not permitted" + permittedAt25));
    EXPECT_TRUE(has(runIn("{\nframe_rate 25\noutput_format 8k\n}\n", "").errors,
                    "project.dat: output_format: \"8k\" is no output format" + permittedAt25));
    for (const char* const bad : {"", "{\nframe_rate 25\n", "{\nframe_rate 30M\n}\n"})
        EXPECT_EQ(runIn(bad, "").status, 2);
}

TEST(Program, numbersItsEventsOnFromRunToRun)
{
    EXPECT_TRUE(has(run("/dev/stdin <damaged.edl").output, "\n001 E0030001 "));
    EXPECT_EQ(contents(numberFile()), "4");
    EXPECT_TRUE(has(runOn("damaged.edl").output, "\n001 E0030004 "));
}

TEST(Program, saysThatTheRunBeforeEndedBadly)
{
    setNextNumber(10);
    runKilled(EDIT_LISTS "coastline.edl");
    EXPECT_EQ(contents(numberFile()), "10");
    EXPECT_TRUE(runOn("coastline.edl").errors.starts_with("editsession: the run before this one ended badly;"));
    EXPECT_EQ(contents(numberFile()), "114");
    EXPECT_EQ(runOn("coastline.edl").errors, "");
}

TEST(Program, computesTheSameChecksumsInWhateverOrder)
{
    const Finished first = run("--checksums coastline.edl");
    EXPECT_EQ(first.status, 0);
    const std::string checksums = first.output.substr(first.output.find("\nchecksums\n001 "));
    EXPECT_EQ(std::count(checksums.begin(), checksums.end(), '\n'), 106);
    EXPECT_TRUE(run("--checksums coastline.edl").output.ends_with(checksums));
    EXPECT_TRUE(first.errors.starts_with("checksums   0 %")) << first.errors;
    EXPECT_TRUE(first.errors.ends_with(" frames/s, 0:00 left\n")) << first.errors;
    EXPECT_FALSE(has(first.errors, "\r"));
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
    EXPECT_TRUE(has(seen, "\r\033[Keditsession: interrupted"));
    EXPECT_EQ(contents(numberFile()), "5");
    EXPECT_EQ(runOn("coastline.edl").errors, "") << "it ended well";
}

TEST(Program, showsWhatDisplaysSeeWhileItPlays)
{
    EXPECT_TRUE(has(run("--play 4-6 coastline.edl").output, " film\n\n"
                                                            "marks  in 10:00:19:20  out 10:00:38:17\n"
                                                            "  position  10:00:19:20\n"
                                                            "  position  10:00:25:15\n"
                                                            "  position  10:00:32:17\n"
                                                            "  position  10:00:38:17\n"));
}

TEST(Program, playsKeysAsTheUserBoundThem)
{
    const TempFolder folder;
    const std::string keys = folder.path() / "keys";
    std::ofstream(keys) << "F5\nDown\n\nRight\ni\no\n[\nl\nno such key\nHold x tap y\n]\nSpace\ne\nx\n";
    EXPECT_EQ(run("--bind 'Mark in=F5' --unbind 'Mark in=i' --bind 'Stop=hold x tap y'").errors, "");
    const Finished played = run("--keys " + keys + " coastline.edl");
    EXPECT_EQ(played.status, 1);
    EXPECT_TRUE(has(played.output, expectedText("keys.expected")));
    EXPECT_EQ(played.errors, keys + ":9: \"no such key\" is no key\n");

    EXPECT_TRUE(has(run("--explain-key f5").output, "Mark in"));
    EXPECT_EQ(run("--bind 'Mark out=F5'").errors, "editsession: --bind: F5 is bound to \"Mark in\" already\n");
    EXPECT_TRUE(has(run("--list-keys").output, "\nMark in              F5 "));
    EXPECT_TRUE(has(run("--reset-keys --list-keys").output, "\nMark in              'i' "));
}

TEST(Program, usesTheOptionsOfTheRunBeforeWhenAsked)
{
    const std::string ferry = run("--rate=30M --gauge F16 --drop-frame night-ferry.edl").output;
    EXPECT_NE(ferry, "");
    EXPECT_EQ(run("--again").output, ferry);
    EXPECT_EQ(run("--again --default-list coastline.edl").output, ferry);
    EXPECT_TRUE(has(run("--again --gauge 35").output, " feet of 35mm film"));
    EXPECT_TRUE(has(run("coastline.edl").output, "\n25 fps, 35mm film\n"));
}

TEST(Program, takesWhatIsNotGivenFromSettings)
{
    const std::filesystem::path directory = std::getenv("MW_MACHINE_CONFIG_DIR") + std::string("/editsession");
    std::filesystem::create_directories(directory);
    const auto runWith = [&](const char* setting)
    {
        std::ofstream(directory / "config.dat") << "{\n" << setting << "\n}\n";
        return run("coastline.edl");
    };
    EXPECT_TRUE(has(runWith("edit_list_gauge F16").output, " feet of 16mm film"));
    const Finished failed = runWith("edit_list_rate 26");
    EXPECT_EQ(failed.status, 2);
    EXPECT_TRUE(failed.errors.starts_with("editsession: the setting edit_list_rate: \"26\" is no frame rate"));
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
