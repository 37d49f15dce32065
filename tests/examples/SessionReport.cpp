#include "examples/editsession/SessionReport.h"

#include "ListReading.h"
#include "platform/TempFolder.h"

TEST(SessionReport, isRefusedForAnotherSession)
{
    const TempFolder folder;
    const std::string path = folder.path() / "report.json";
    const EditList list = readList(shippedList("coastline.edl")).list;
    EXPECT_EQ(writeReport(list, 7, path.c_str()), "");
    EXPECT_NE(checkReport(list, 8, path.c_str()), "");
    const std::pair<const char*, void (*)(EditList&)> changes[] = {
        {"title", [](EditList& other) { other.title += "x"; }},
        {"rate", [](EditList& other) { other.rate = Mw::FR50; }},
        {"events", [](EditList& other) { other.events.pop_back(); }},
        {"number", [](EditList& other) { ++other.events.back().number; }},
        {"cookie", [](EditList& other) { other.events.back().cookie = video_black; }},
        {"edits", [](EditList& other) { other.events.back().edits.emplace_back(); }},
        {"reel", [](EditList& other) { other.events.back().edits[0].reel += "x"; }},
        {"count", [](EditList& other) { other.events.back().edits[0].record.dropFrame = true; }},
        {"source", [](EditList& other) { ++other.events.back().edits[0].source.in; }},
        {"record", [](EditList& other) { ++other.events.back().edits[0].record.length; }}};
    for (const auto& [what, change] : changes)
    {
        EditList other = list;
        change(other);
        EXPECT_NE(checkReport(other, 7, path.c_str()), "") << what;
    }
}
