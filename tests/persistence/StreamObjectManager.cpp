#include "misc/persistence/StreamObjectManager.h"

#include "StoredObjects.h"
#include "diagnostics/Dying.h"

using namespace stored;

namespace
{

std::string binWith(const std::string& object)
{
    return stored::object(2, "B", {{"B", bytesOf(object.empty() ? 0 : 1, 4) + object}});
}

class StreamObjects : public StoredObjects
{
protected:
    // Reads to the end or to the first failure; gives the number of objects that came.
    std::size_t readAll(const std::string& bytes)
    {
        put(bytes);
        std::size_t count = 0;
        while (!file_.eof() && !stream_.failed())
        {
            const std::uint64_t before = file_.position();
            count += theSOManager().readObject(stream_) ? 1 : 0;
            EXPECT_TRUE(stream_.failed() || file_.position() > before) << "no progress";
        }
        return count;
    }
};

} // namespace

TEST_F(StreamObjects, classIsFoundByTheStoredName)
{
    put(titleObject(2) + object(2, "Z", {{"Z", "whatever"}}) + object(1, "Clip", {clipLayer(3, "a")}) + titleObject(1));
    EXPECT_EQ(Mw::dynamicCast<Title>(theSOManager().readObject(stream_))->text, "End");
    EXPECT_FALSE(theSOManager().readObject(stream_));
    EXPECT_EQ(said(), "Unregistered builder for Z.\n");
    EXPECT_EQ(Mw::dynamicCast<Clip>(theSOManager().readObject(stream_))->start, 3);
    stream_.append("an error");
    EXPECT_FALSE(theSOManager().readObject(stream_));
    EXPECT_EQ(said(), "Warning: Stream with error flagged passed to readObject!\n");
    stream_.clear();
    Streamable* raw = nullptr;
    stream_ >> raw;
    EXPECT_EQ(Mw::Ptr<Streamable>(raw).useCount(), 1);
    put("no object");
    EXPECT_FALSE(theSOManager().readObject(stream_));
    EXPECT_EQ(said(), "StreamObjectManager::readObject(): Failed to read header!\n");
}

TEST_F(StreamObjects, objectsWithinObjectsHaveADepth)
{
    for (const bool tooDeep : {false, true})
    {
        std::string bytes = binWith("");
        for (int depth = 1; depth < StreamableTraitsBase::maxDepth + tooDeep; ++depth)
            bytes = binWith(bytes);
        EXPECT_EQ(readAll(bytes + titleObject(2)), tooDeep ? 0u : 2u);
        EXPECT_EQ(stream_.c_str(),
                  std::string(tooDeep ? "Objects are nested too deeply while unpacking Bin, layer Bin." : ""));
    }
}

TEST_F(StreamObjects, innerObjectStaysWithinTheLayerAroundIt)
{
    // The inner object's last layer takes the title behind the bin for its own.
    std::string inner = titleObject(2);
    for (const std::size_t size : {8u, 24u, 41u, 45u})
        inner[size] = static_cast<char>(inner[size] + static_cast<char>(titleObject(2).size()));
    readAll(binWith(inner) + titleObject(2));
    EXPECT_TRUE(stream_.failed() && file_.position() == binWith(inner).size());
}

// A file that is cut gives the objects before the cut. Of the bits one in the records shows: those are the bytes
// that don't change with the fields and the revs of the layers.
TEST_F(StreamObjects, damagedFileIsNeverReadAsWhole)
{
    std::vector<std::size_t> ends;
    const auto sample = [&](unsigned version, unsigned rev, bool inverted)
    {
        std::string text("End", 4);
        for (char& c : text)
            c = inverted ? static_cast<char>(~c) : c;
        const auto bin = [&](unsigned generation, unsigned count, const std::string& objects) {
            return object(generation, "B", {{"B", bytesOf(inverted ? ~count : count, 4) + objects, rev, rev}});
        };
        const std::string clip = object(version, "C.T", {{"C", text + text, rev, rev}, {"T", text, rev, rev}});
        const std::string both = clip + bin(version, 2, clip + bin(3 - version, 1, clip));
        ends = {0, clip.size(), both.size(), both.size() + clip.size()};
        return both + clip;
    };
    const LittleMemory little;
    for (const unsigned version : {1u, 2u})
    {
        const std::string other = sample(version, 2, true);
        const std::string bytes = sample(version, 1, false);
        for (std::size_t cut = 0; cut <= bytes.size(); ++cut)
        {
            const auto end = std::upper_bound(ends.begin(), ends.end(), cut) - 1;
            EXPECT_EQ(readAll(bytes.substr(0, cut)), static_cast<std::size_t>(end - ends.begin())) << cut;
            EXPECT_EQ(stream_.failed(), cut != *end) << cut;
        }
        for (std::size_t bit = 0; bit < 8 * bytes.size(); ++bit)
        {
            std::string changed = bytes;
            changed[bit / 8] = static_cast<char>(changed[bit / 8] ^ 1 << bit % 8);
            const bool isWhole = readAll(changed) == 3 && !stream_.failed();
            EXPECT_FALSE(isWhole && bytes[bit / 8] == other[bit / 8]) << "version " << version << ", bit " << bit;
        }
    }
}

TEST(StreamObjectsDeath, nameThatIsTakenEndsTheProgram)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH((prepareToDie(), theSOManager().registerClass("another", "Clip", buildStreamable<Clip>)),
                 "Non-unique short name or full name registering Clip");
}
