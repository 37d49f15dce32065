#include "KilledWriter.h"
#include "SwapTables.h"
#include "platform/TempFolder.h"

using namespace swaptables;

namespace
{

// The file is longer than what is kept back from the one beside.
constexpr int count = 200;
const Text filling(std::string(3000, 'f'));

// Every third object says which generation the file is of; the others are carried over.
bool storeNext(TagMarkerTable& table)
{
    const std::vector<Mw::Ptr<TagMarker>> markers = table.markers();
    table.displaceAll();
    for (std::size_t i = 0; i < markers.size(); i += 3)
        ++cutOf(markers[i])->number;
    return table.flush();
}

// The generation, or -1 if the table isn't of one.
long generationOf(const TagMarkerTable& table)
{
    const std::vector<Mw::Ptr<TagMarker>> markers = table.markers();
    const int generation = markers.size() == count ? cutOf(markers[0])->number : -1;
    for (std::size_t i = 0; i < markers.size(); ++i)
        if (const auto cut = cutOf(markers[i]);
            cut->name != filling || cut->number - int(i) != (i % 3 == 0 ? generation : 0))
            return -1;
    return generation;
}

} // namespace

TEST_F(SwapTableTest, writerKilledAtAnyMomentLeavesAFlushThatWasCompleted)
{
    const TempFolder folder;
    folder_ = folder.wide();
    ASSERT_TRUE(open(count, filling)->flush());
    killWriters(
        80, [&] { return [table = open()] { return storeNext(*table); }; }, [&] { return generationOf(*open()); });
}
