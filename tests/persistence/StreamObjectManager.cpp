#include "misc/persistence/StreamObjectManager.h"

#include "StoredObjects.h"

using namespace stored;

namespace
{

const StreamClassRegistrar registrars[] = {StreamClassRegistrar::of<Clip>(), StreamClassRegistrar::of<Title>(),
                                           StreamClassRegistrar::of<Bin>()};

std::string unknownObject()
{
    return object(2, "Z", {{"Z", "whatever"}});
}

// A bin with what is given.
std::string binWith(unsigned version, const std::vector<std::string>& objects)
{
    std::string body = bytesOf(static_cast<unsigned>(objects.size()), 4);
    for (const std::string& object : objects)
        body += object;
    return object(version, "B", {{"B", body}});
}

} // namespace

class StreamObjects : public StoredObjects
{
protected:
    // Reads to the end or to the first failure; gives the objects.
    std::vector<Mw::Ptr<Streamable>> readAll()
    {
        std::vector<Mw::Ptr<Streamable>> objects;
        while (!file_.eof() && !stream_.failed())
        {
            const std::uint64_t before = file_.position();
            if (Mw::Ptr<Streamable> object = theSOManager().readObject(stream_))
                objects.push_back(object);
            EXPECT_TRUE(stream_.failed() || file_.position() > before) << "no progress";
        }
        return objects;
    }
    static bool holdsNull(const Streamable& object)
    {
        const auto* const bin = dynamic_cast<const Bin*>(&object);
        return bin != nullptr && std::any_of(bin->objects.begin(), bin->objects.end(),
                                             [](const auto& inner) { return !inner || holdsNull(*inner); });
    }
    // Whether the bytes read as so many objects, and nothing says otherwise.
    bool readsWhole(const std::string& bytes, std::size_t count)
    {
        put(bytes);
        const std::vector<Mw::Ptr<Streamable>> objects = readAll();
        return !stream_.failed() && objects.size() == count &&
               std::none_of(objects.begin(), objects.end(), [](const auto& object) { return holdsNull(*object); });
    }
};

TEST_F(StreamObjects, classIsFoundByTheStoredName)
{
    put(titleObject(2) + unknownObject() + object(1, "Clip", {clipLayer(3, "a")}) + titleObject(1));
    EXPECT_EQ(Mw::dynamicCast<Title>(theSOManager().readObject(stream_))->text, "End");
    EXPECT_FALSE(theSOManager().readObject(stream_));
    EXPECT_EQ(said(), "Unregistered builder for Z.\n");
    EXPECT_EQ(Mw::dynamicCast<Clip>(theSOManager().readObject(stream_))->start, 3);
    stream_.append("an error");
    const std::uint64_t before = file_.position();
    EXPECT_FALSE(theSOManager().readObject(stream_));
    EXPECT_EQ(said(), "Warning: Stream with error flagged passed to readObject!\n");
    EXPECT_EQ(file_.position(), before);
    EXPECT_EQ(stream_.c_str(), std::string("an error"));
    stream_.clear();
    Streamable* raw = nullptr;
    stream_ >> raw;
    const Mw::Ptr<Streamable> adopted(raw);
    EXPECT_EQ(adopted.useCount(), 1);
    EXPECT_EQ(theSOManager().lookup("C.T"), theSOManager().lookup("Clip.Title"));
    EXPECT_EQ(theSOManager().lookup("Title"), nullptr);
    put(records(2, {{"", std::string("C.T\0", 4)}, {"C", "clip"}}) + titleObject(2));
    stream_.version(2);
    EXPECT_FALSE(theSOManager().readObject(stream_));
    EXPECT_TRUE(theSOManager().readObject(stream_)); // behind a first layer without a name
    said();
    put("no object");
    EXPECT_FALSE(theSOManager().readObject(stream_));
    EXPECT_EQ(said(), "StreamObjectManager::readObject(): Failed to read header!\n");
}

TEST_F(StreamObjects, nextObjectIsReadWhateverABuilderDid)
{
    StreamObjectManager manager;
    int moves = -1;
    static int* const move = &moves;
    manager.registerClass("C.T", "Clip.Title",
                          [](PStream& stream)
                          {
                              stream.file()->setPosition(stream.file()->position() + static_cast<unsigned>(*move));
                              return Mw::Ptr<Streamable>(new Clip);
                          });
    // A first layer that holds more than the name is none of the usual ones.
    const std::string longer = records(
        2, {{"$", std::string("C.T\0and more", 12), 2, 0}, clipLayer(25, "reel"), {"T", std::string("End\0", 4)}});
    for (moves = 0; moves < 200; ++moves)
    {
        put(titleObject(2) + longer + titleObject(1) + "!");
        for (const std::size_t end : {titleObject(2).size(), titleObject(2).size() + longer.size(), file_.size() - 1})
        {
            EXPECT_TRUE(manager.readObject(stream_)) << moves;
            EXPECT_EQ(file_.position(), end) << moves;
        }
    }
}

TEST_F(StreamObjects, objectsWithinObjectsHaveADepth)
{
    for (const bool tooDeep : {false, true})
    {
        std::string bytes = binWith(2, {});
        for (int depth = 1; depth < StreamableTraitsBase::maxDepth + tooDeep; ++depth)
            bytes = binWith(2, {bytes});
        EXPECT_EQ(readsWhole(bytes + titleObject(2), 2), !tooDeep);
        EXPECT_EQ(stream_.c_str(),
                  std::string(tooDeep ? "Objects are nested too deeply while unpacking Bin, layer Bin." : ""));
        EXPECT_EQ(file_.position(), tooDeep ? bytes.size() : file_.size());
    }
}

TEST_F(StreamObjects, innerObjectStaysWithinTheLayerAroundIt)
{
    // The inner object's last layer takes the title behind the bin for its own.
    std::string inner = titleObject(2);
    const std::size_t outerBytes = binWith(2, {inner}).size();
    const auto more = static_cast<char>(titleObject(2).size());
    for (const std::size_t size : {8u, 24u, 41u, 45u})
        inner[size] = static_cast<char>(inner[size] + more);
    EXPECT_FALSE(readsWhole(binWith(2, {inner}) + titleObject(2), 2));
    EXPECT_EQ(file_.position(), outerBytes);
}

// A file cut anywhere gives the objects before the cut, and says so unless it was between two.
TEST_F(StreamObjects, cutFileIsNeverReadAsWhole)
{
    std::string whole;
    std::vector<std::size_t> ends = {0};
    for (const std::string& object : {titleObject(2), binWith(2, {titleObject(2), binWith(2, {titleObject(1)})}),
                                      titleObject(1), binWith(1, {titleObject(1)}), unknownObject(), titleObject(2)})
        ends.push_back((whole += object).size());
    const LittleMemory little;
    for (std::size_t cut = 0; cut <= whole.size(); ++cut)
    {
        put(whole.substr(0, cut));
        const std::size_t found = readAll().size();
        const auto complete =
            static_cast<std::size_t>(std::upper_bound(ends.begin(), ends.end(), cut) - ends.begin() - 1);
        EXPECT_EQ(found, complete - (complete >= 5)) << cut;
        EXPECT_EQ(stream_.failed(), cut != ends[complete]) << cut;
    }
}

// Every bit of a file: one in the records shows. Those are the bytes that don't change with the fields and
// the revs of the layers.
TEST_F(StreamObjects, changedBitOfARecordIsNeverReadAsWhole)
{
    const auto sample = [](unsigned version, unsigned rev, bool inverted)
    {
        const auto layersOf = [&](std::string text)
        {
            for (char& c : text)
                c = inverted ? static_cast<char>(~c) : c;
            return std::vector<Layer>{{"C", text + text, rev, rev}, {"T", text, rev, rev}};
        };
        const std::string clips = object(version, "C.T", layersOf(std::string("End", 4)));
        return clips + object(version, "B", {{"B", bytesOf(inverted ? ~1u : 1u, 4) + clips, rev, rev}}) + clips;
    };
    const LittleMemory little;
    for (const unsigned version : {1u, 2u})
    {
        const std::string bytes = sample(version, 1, false);
        const std::string other = sample(version, 2, true);
        ASSERT_TRUE(readsWhole(bytes, 3));
        for (std::size_t bit = 0; bit < 8 * bytes.size(); ++bit)
        {
            std::string changed = bytes;
            changed[bit / 8] = static_cast<char>(changed[bit / 8] ^ 1 << bit % 8);
            const bool isWhole = readsWhole(changed, 3);
            EXPECT_FALSE(isWhole && bytes[bit / 8] == other[bit / 8]) << "version " << version << ", bit " << bit;
        }
    }
}

TEST(StreamObjectsDeath, nameThatIsTakenEndsTheProgram)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto registerTwice = []
    {
        const rlimit noCore{0, 0};
        setrlimit(RLIMIT_CORE, &noCore);
        std::setvbuf(stderr, nullptr, _IOFBF, 1 << 14);
        SetLogOutput(stderr);
        theSOManager().registerClass("another", "Clip", buildStreamable<Clip>);
    };
    EXPECT_DEATH(registerTwice(), "Non-unique short name or full name registering Clip");
}
