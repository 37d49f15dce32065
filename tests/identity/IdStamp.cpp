#include "misc/identity/IdStamp.h"

#include "identity/Support.h"
#include "misc/persistence/PStream.h"

#include <algorithm>
#include <set>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace
{

constexpr IdStamp sample(100, 0x37A1B2C0, 5);

std::string text(const IdStamp& stamp)
{
    return stamp.asString().c_str();
}

using IdStamps = MachineInMemory;

} // namespace

TEST(IdStamp, textAndValueConvertBothWays)
{
    EXPECT_EQ(text(sample), "0000006437A1B2C05");
    for (const IdStamp& stamp : {IdStamp(0, 1, 0), {~0u, ~0u, ~0u}, {2703, 0x80000000, 0x1F000000}})
        EXPECT_TRUE(IdStamp(text(stamp).c_str()) == stamp && IdStamp::ofText(text(stamp)) == stamp) << text(stamp);
    const std::pair<const char*, IdStamp> rows[] = {
        {"", {0, 0, 0}},
        {"0000006437A1", {0x64, 0x37A1, 0}},
        {"0000006437a1b2c05 and more", sample},
        {"       zzzzzzzzz7", {0, 0, 7}},
        {"0000006437A1B2C0FFFFFFFFFFFFFFFFFF", {0x64, 0x37A1B2C0, 0xFFFFFFFF}},
    };
    for (const auto& [text, stamp] : rows)
        EXPECT_TRUE(IdStamp(text) == stamp && IdStamp::ofText(text).has_value() == (*text == '\0')) << text;
    // Of all texts that differ from a stamp's in one character, those alone that are another stamp's.
    for (std::size_t at = 0; at < text(sample).size(); ++at)
        for (int c = 1; c < 256; ++c)
        {
            std::string other = text(sample);
            other[at] = static_cast<char>(c);
            EXPECT_EQ(IdStamp::ofText(other).has_value(), text(IdStamp(other.c_str())) == other) << other;
        }
}

TEST(IdStamp, machineComesFirstInTheOrder)
{
    const IdStamp sorted[] = {{0, 9, 9}, {1, 0, 9}, {1, 5, 8}, {1, 5, 9}, {1, 6, 0}, {2, 0, 0}};
    for (const IdStamp& a : sorted)
        for (const IdStamp& b : sorted)
            EXPECT_TRUE((a.compare(b) < 0) == (&a < &b) && (a < b) == (&a < &b));
    // A difference beyond 31 bits turns round; the order of containers doesn't.
    EXPECT_LT(IdStamp(0, 1, 0xFFFFFFFF).compare(IdStamp(0, 1, 0)), 0);
    EXPECT_GT(IdStamp(0, 1, 0xFFFFFFFF), IdStamp(0, 1, 0));
}

TEST(IdStamp, magicMixesWithCountsOfMoreThan26Bits)
{
    IdStamp stamp(1, 2, 0x03FFFFFF);
    EXPECT_FALSE(stamp.isMagic());
    stamp.setMagicType(static_cast<IdStampMagic::MagicType>(0x21));
    EXPECT_TRUE(stamp.getMagicType() == 0x21u && stamp.tickCount() == 0x07FFFFFFu);
}

TEST_F(IdStamps, differOnAllThreadsWhileTheClockMoves)
{
    constexpr int each = 20000;
    std::vector<IdStamp> made(4 * each, IdStamp(0, 0, 0));
    std::vector<std::thread> makers;
    for (auto mine = made.begin(); mine != made.end(); mine += each)
        makers.emplace_back([=] { std::generate_n(mine, each, [] { return IdStamp(); }); });
    for (int i = 0; i < 1000; ++i)
        debugger_.set(i % 7 * 1000);
    for (std::thread& maker : makers)
        maker.join();
    for (auto mine = made.begin(); mine != made.end(); mine += each)
        EXPECT_TRUE(std::is_sorted(mine, mine + each));
    EXPECT_EQ(std::set<IdStamp>(made.begin(), made.end()).size(), made.size());
}

TEST_F(IdStamps, countWithinASecondWhichAForkedChildDoesNotGoOnWith)
{
    debugger_.set(1e12);
    const IdStamp first;
    EXPECT_EQ(first.timeBits(), 2'000'000'000 - IdStamp::epochSeconds);
    const pid_t child = ::fork();
    if (child == 0)
        ::_exit(IdStamp() == IdStamp(5, first.timeBits() + 1, 0) ? 0 : 1);
    int status = -1;
    ::waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(IdStamp(), IdStamp(5, first.timeBits(), first.tickCount() + 1));
}

TEST_F(IdStamps, arePackedAsTheirTextAndReadInEveryVersion)
{
    StreamFile file;
    PStream stream(&file);
    file.write("an oldest layout's head of 38 bytes...", 38);
    sample.pack(stream);
    IdStamp(7, 0, 7).pack(stream);
    const std::uint64_t large = file.position();
    IdStamp(1, 2, 0x04000000).pack(stream);
    EXPECT_EQ(file.size(), 38u + 18 + 1 + 18 + 6);

    file.setPosition(0);
    IdStamp read(0, 0, 0);
    read.unpack(stream, 'S');
    EXPECT_EQ(read, sample);
    read.unpack(stream, 1);
    EXPECT_FALSE(read.valid());
    read.unpack(stream, 2);
    EXPECT_TRUE(read == IdStamp(1, 2, 0x04000000) && said().empty());
    file.setPosition(large);
    read.unpack(stream, 1);
    EXPECT_EQ(said(), "WARNING: Encountered Rev.1 IdStamp with out-of-range tickBits value.\n");
}
