// What tables ask of the file below them.

#include "OS/testing/ForwardingFileMgr.h"
#include "OS/testing/MemoryFileMgr.h"
#include "StoredObjects.h"
#include "SwapTables.h"

#include <algorithm>
#include <cstring>
#include <limits>

using namespace swaptables;

namespace
{

// Counts the reads, and lets each file end with so many zeros more than are in it.
class SeenFiles : public ForwardingFileMgr
{
public:
    using ForwardingFileMgr::ForwardingFileMgr;

    Mw::Ptr<iFile> openFile(const Path& path, iFile::eAccess access, iFile::eOpenBehaviour behaviour,
                            iFile::eSharing sharing, unsigned hints, unsigned mode) override
    {
        const Mw::Ptr<iFile> file = ForwardingFileMgr::openFile(path, access, behaviour, sharing, hints, mode);
        return Mw::Ptr<iFile>(new File(file, *this));
    }

    int reads = 0;
    std::uint64_t zeros = 0;

private:
    struct File : ForwardingFile
    {
        File(const Mw::Ptr<iFile>& file, SeenFiles& files) : ForwardingFile(file), seen(files) {}

        std::uint64_t size() override { return ForwardingFile::size() + seen.zeros; }
        std::int64_t read(void* buffer, std::size_t sizeBytes, std::uint64_t offset) override
        {
            ++seen.reads;
            const std::uint64_t count = std::min<std::uint64_t>(sizeBytes, size() - std::min(size(), offset));
            std::memset(buffer, 0, count);
            const std::int64_t there = ForwardingFile::read(buffer, count, offset);
            return there < 0 ? there : static_cast<std::int64_t>(count);
        }

        SeenFiles& seen;
    };
};

class SwapFile : public SwapTableTest
{
protected:
    Path name() const { return folder_ + L"/" + cookie_.asWString() + L".odb"; }

    MemoryFileMgr disk_;
    SeenFiles files_{disk_};
    const OSReplacement<iFileMgr> replaced_{files_};
};

} // namespace

TEST_F(SwapFile, objectsReadLastComeOutOfMemoryUntilOthersTakeTheirRoom)
{
    constexpr int count = 90; // of which the room has no more than 83
    const Mw::Ptr<TagMarkerTable> table = open();
    for (int i = 0; i < count; ++i)
        table->intern(makeCut(i, std::string(100'000, char('!' + i)).c_str()));
    const Mw::Ptr<TagMarker> large = table->intern(makeCut(count, std::string(1'000'000, 'x').c_str()));
    ASSERT_TRUE(table->displaceAll());
    const std::vector<Mw::Ptr<TagMarker>> markers = table->markers();
    const auto readsFor = [&](int i)
    {
        const int before = files_.reads;
        const auto cut = Mw::dynamicCast<Cut>(markers[std::size_t(i)]->demand());
        EXPECT_TRUE(cut && cut->number == i && cut->name.c_str()[99'999] == (i < count ? char('!' + i) : 'x'));
        markers[std::size_t(i)]->drop();
        return files_.reads - before;
    };
    EXPECT_EQ(readsFor(0), 1);
    EXPECT_EQ(readsFor(0), 0);
    EXPECT_EQ(readsFor(count), 1);
    EXPECT_EQ(readsFor(count), 1) << "an object that would take much of the room";
    for (int i = 1; i < count; ++i)
        EXPECT_EQ(readsFor(i), 1);
    EXPECT_EQ(readsFor(count - 1), 0);
    EXPECT_EQ(readsFor(0), 1);
    EXPECT_EQ(readsFor(0), 0);

    // Another file has other bytes.
    Mw::dynamicCast<Cut>(markers[0]->demand())->number = 7;
    ASSERT_TRUE(markers[0]->displace());
    EXPECT_EQ(Mw::dynamicCast<Cut>(markers[0]->demand())->number, 7);
}

TEST_F(SwapFile, isLeftAsItWasIfItWouldPassFourGiB)
{
    const Mw::Ptr<TagMarkerTable> first = open();
    first->intern(makeCut(1, "short"));
    ASSERT_TRUE(first->flush());
    // Behind the cut, up to the last place that can be told, stands an object of a class that nobody knows.
    std::string ghost = stored::object(2, "Z", {{"Z", ""}});
    const std::size_t wholeBytes = fileBytes(name()).size() + ghost.size();
    const auto zeros = std::numeric_limits<std::uint32_t>::max() - static_cast<unsigned>(wholeBytes);
    const std::string size = stored::bytesOf(zeros, 4);
    ghost.replace(8, 4, stored::bytesOf(static_cast<unsigned>(ghost.size()) - 12 + zeros, 4));
    ghost.replace(ghost.size() - 8, 8, size + size);
    const std::string bytes = fileBytes(name()) + ghost;
    ASSERT_TRUE(putFile(name(), bytes));
    files_.zeros = zeros;

    const Mw::Ptr<TagMarkerTable> table = open();
    ASSERT_EQ(table->size(), 1u);
    const auto cut = Mw::dynamicCast<Cut>(table->markers()[0]->demand());
    cut->name = "longer than it was";
    said();
    EXPECT_FALSE(table->flush());
    EXPECT_NE(said().find("the objects take more than 4 GiB"), std::string::npos);
    files_.zeros = 0;
    EXPECT_EQ(fileBytes(name()), bytes);
}
