// The benchmark's program: bench/run builds and starts it.

#include "bench/harness/Report.h"

#include <cstdlib>
#include <cstring>

namespace
{

constexpr const char* usage =
    "usage: bench/run [FILTER] [--json FILE] [--check] [--list] [--sides] [--repetitions N]\n"
    "\n"
    "  FILTER             an area (handles, strings, cookie, timecode, log) or part of a case's name\n"
    "  --json FILE        writes the table as JSON to FILE too\n"
    "  --check            ends with status 1 if a row misses its aim by more than a tenth, measured again with\n"
    "                     three times the samples\n"
    "  --list             lists the cases and what they measure, and runs nothing\n"
    "  --sides            shows every side of each case, not only the best peer\n"
    "  --repetitions N    samples of each side, 11 or more (21)\n";

struct Arguments
{
    std::string filter;
    std::vector<const char*> jsonPaths;
    bool check = false;
    bool list = false;
    bool sides = false;
    bench::Settings settings;
};

[[noreturn]] void stop(const char* reason, const char* what)
{
    std::fprintf(stderr, "%s%s\n%s", reason, what, usage);
    std::exit(2);
}

Arguments parse(int count, char** values)
{
    Arguments arguments;
    for (int i = 1; i < count; ++i)
    {
        const auto is = [&](const char* option) { return std::strcmp(values[i], option) == 0; };
        const auto value = [&]() -> const char*
        {
            if (i + 1 >= count)
                stop("no value for ", values[i]);
            return values[++i];
        };
        if (is("--json"))
            arguments.jsonPaths.push_back(value());
        else if (is("--repetitions"))
            arguments.settings.repetitions = std::max(11, std::atoi(value()));
        else if (is("--check"))
            arguments.check = true;
        else if (is("--list"))
            arguments.list = true;
        else if (is("--sides"))
            arguments.sides = true;
        else if (is("--help"))
        {
            std::fputs(usage, stdout);
            std::exit(0);
        }
        else if (values[i][0] == '-')
            stop("unknown option: ", values[i]);
        else if (!arguments.filter.empty())
            stop("more than one filter: ", values[i]);
        else
            arguments.filter = values[i];
    }
    return arguments;
}

void printMissing(const bench::Registry& registry)
{
    std::string packages = MW_BENCH_MISSING_PACKAGES;
    for (const std::string& package : registry.missing())
        packages += (packages.empty() ? "" : " ") + package;
    if (!packages.empty())
        std::printf("Peers of these packages are not installed and left out: %s\n\n", packages.c_str());
}

} // namespace

int main(int count, char** values)
{
    const Arguments arguments = parse(count, values);
    const bench::ParkedThread parked;
    const bench::Registry registry = bench::Registration::registerAll();
    const std::vector<bench::Case> cases = registry.select(arguments.filter);
    if (cases.empty())
        stop("no area and no case has this in its name: ", arguments.filter.c_str());
    if (arguments.list)
    {
        bench::printCases(stdout, cases);
        return 0;
    }

    printMissing(registry);
    bench::printTableHead(stdout);
    std::vector<bench::Measurement> rows;
    for (const bench::Case& each : cases)
    {
        rows.push_back(bench::measure(each, arguments.settings));
        if (arguments.check && rows.back().missesAim())
            rows.back() = bench::measure(each, {arguments.settings.repetitions * 3, arguments.settings.sampleNs});
        bench::printRow(stdout, rows.back(), arguments.sides);
    }

    for (const char* path : arguments.jsonPaths)
        if (!bench::writeJson(path, rows))
        {
            std::perror(path);
            return 2;
        }
    return arguments.check && bench::printMisses(stdout, rows) > 0 ? 1 : 0;
}
