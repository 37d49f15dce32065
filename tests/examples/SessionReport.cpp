#include "examples/editsession/SessionReport.h"

#include "ListReading.h"
#include "platform/TempFolder.h"

#include <fstream>
#include <string>
#include <vector>

// Each line that says something is changed, and taken out, in turn.
TEST(SessionReport, isRefusedWithAnyOfItsValuesChangedOrMissing)
{
    const TempFolder folder;
    const std::string path = folder.path() / "report.json";
    EditList list = readList(shippedList("coastline.edl")).list;
    list.events.resize(2);
    EXPECT_EQ(writeReport(list, 0, path.c_str()), "");

    std::vector<std::string> lines;
    std::ifstream written(path);
    for (std::string line; std::getline(written, line);)
        lines.push_back(line);
    int checked = 0;
    for (std::string& line : lines)
    {
        const std::size_t value = line.find(" : ") + 3;
        if (value < 3 || line.back() == '[' || line.back() == '{')
            continue;
        const std::string whole = line;
        std::string changed = whole;
        if (const char first = whole[value]; first == '"')
            changed.insert(value + 1, 1, 'x');
        else if (first == 't' || first == 'f')
            changed.replace(value, first == 't' ? 4 : 5, first == 't' ? "false" : "true");
        else
            changed[value] = first == '1' ? '2' : '1';
        for (const std::string& damaged : {changed, std::string()})
        {
            line = damaged;
            std::ofstream file(path);
            for (const std::string& each : lines)
                file << each << "\n";
            file.close();
            EXPECT_NE(checkReport(list, 0, path.c_str()), "") << whole;
            ++checked;
        }
        line = whole;
    }
    EXPECT_GT(checked, 30);
}
