#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fnmatch.h>
#include <fstream>
#include <map>
#include <optional>
#include <set>
#include <sstream>

// Holds the structure of the sources: who may include whom, read from the files themselves.

namespace
{

namespace fs = std::filesystem;

const fs::path theRoot = MW_SOURCE_DIR;

struct Include
{
    std::string name;
    bool system = false;
};

// "#include" and its name in either kind of brackets; nothing for any other line.
std::optional<Include> includeOf(const std::string& line)
{
    std::istringstream words(line);
    std::string first, second;
    words >> first >> second;
    if (first == "#" && second == "include")
        words >> second;
    else if (first != "#include")
        return {};
    const auto end = second.find_first_of(">\"", 1);
    if (end == second.npos)
        return {};
    return Include{second.substr(1, end - 1), second[0] == '<'};
}

std::vector<Include> includesOf(const std::string& file)
{
    std::vector<Include> result;
    std::ifstream in(theRoot / file);
    for (std::string line; std::getline(in, line);)
        if (const auto include = includeOf(line))
            result.push_back(*include);
    return result;
}

// Every source file of the folders, relative to the root.
std::vector<std::string> filesBelow(std::initializer_list<const char*> folders)
{
    std::vector<std::string> result;
    for (const char* const folder : folders)
        for (const auto& entry : fs::recursive_directory_iterator(theRoot / folder))
            if (const auto ending = entry.path().extension(); ending == ".h" || ending == ".cpp" || ending == ".inl")
                result.push_back(fs::relative(entry.path(), theRoot).string());
    std::sort(result.begin(), result.end());
    return result;
}

// The file of this project that an include names, or nothing.
std::string resolve(const Include& include)
{
    for (const char* const folder : {"", "platform/"})
        if (!include.system && fs::exists(theRoot / (folder + include.name)))
            return folder + include.name;
    return {};
}

class Floors
{
public:
    Floors()
    {
        std::ifstream in(theRoot / "tests/product/floors.txt");
        for (std::string text; std::getline(in, text);)
        {
            std::istringstream fields(text);
            Row row;
            if (fields >> row.floor >> row.pattern)
                rows_.push_back(row);
        }
    }

    // 0 for a file that no line places.
    int of(const std::string& file) const
    {
        for (const Row& row : rows_)
            if (fnmatch(row.pattern.c_str(), file.c_str(), 0) == 0)
                return row.floor;
        return 0;
    }

private:
    struct Row
    {
        int floor = 0;
        std::string pattern;
    };
    std::vector<Row> rows_;
};

bool isStandardHeader(const std::string& name)
{
    // Standard C++ headers have no ending; what the library also uses is named.
    static const std::set<std::string> others = {"zlib.h", "loki/Singleton.h"};
    static const std::set<std::string> notPortable = {"execution", "coroutine"};
    return others.count(name) != 0 || (name.find_first_of("./") == name.npos && notPortable.count(name) == 0);
}

} // namespace

TEST(Includes, coreAndModulesIncludeNoSystemHeader)
{
    for (const std::string& file : filesBelow({"Mw", "misc"}))
        for (const Include& include : includesOf(file))
            EXPECT_TRUE(!include.system || isStandardHeader(include.name))
                << file << " includes <" << include.name << ">";
}

TEST(Includes, everyFileIncludesOnlyItsFloorAndBelow)
{
    const Floors floors;
    for (const std::string& file : filesBelow({"Mw", "platform", "misc"}))
    {
        const int floor = floors.of(file);
        EXPECT_NE(floor, 0) << file << " stands on no floor: add it to tests/product/floors.txt";
        for (const Include& include : includesOf(file))
        {
            const std::string target = resolve(include);
            EXPECT_TRUE(include.system || !target.empty())
                << file << " includes \"" << include.name << "\", which is no file";
            EXPECT_TRUE(target.empty() || floors.of(target) <= floor)
                << file << " (floor " << floor << ") includes " << target << " (floor " << floors.of(target) << ")";
        }
    }
}

TEST(Includes, headersFormNoCircle)
{
    enum class Mark
    {
        none,
        open,
        done
    };
    std::map<std::string, Mark> marks;
    const auto visit = [&](const auto& self, const std::string& file) -> void
    {
        marks[file] = Mark::open;
        for (const Include& include : includesOf(file))
            if (const std::string target = resolve(include); !target.empty())
            {
                EXPECT_NE(marks[target], Mark::open) << "circle through " << file << " and " << target;
                if (marks[target] == Mark::none)
                    self(self, target);
            }
        marks[file] = Mark::done;
    };
    for (const std::string& file : filesBelow({"Mw", "platform", "misc"}))
        if (marks[file] == Mark::none)
            visit(visit, file);
}
