#include "misc/persistence/Streamable.h"

#include "StoredObjects.h"
#include "platform/TempFolder.h"

using namespace stored;

namespace
{

const std::string allOnes(8, '\xFF');
const std::string endOfFile = "Unexpected end-of-file while unpacking Clip, layer Clip.";

} // namespace

// The bytes that docs/formats.md shows.
TEST_F(StoredObjects, recordsAreThoseOfTheFormatInBothGenerations)
{
    Title title;
    title.start = 25;
    title.name = "reel";
    title.text = "End";
    const std::string current("$\0\x02\0\x04\0\0\0\x29\0\0\0C.T\0"
                              "C\0\x01\0\x09\0\0\0\x19\0\0\0\x19\0\0\0reel\0"
                              "T\0\x01\0\x04\0\0\0\x04\0\0\0End\0",
                              53);
    const std::string former("$\0\x01\0\x04\0\x21\0C.T\0"
                             "C\0\x01\0\x09\0\x15\0\x19\0\0\0reel\0"
                             "T\0\x01\0\x04\0\x04\0End\0",
                             41);
    EXPECT_EQ(packed(title), current);
    EXPECT_EQ(titleObject(1), former);
    std::string fullNames = object(2, "Clip.Title", {clipLayer(25, "reel"), {"Title", std::string("End\0", 4)}});
    fullNames.replace(0, 1, "Streamable");
    for (const std::string& bytes : {former + current, current + former, fullNames})
        for (put(bytes); !file_.eof();)
        {
            Title read;
            stream_ >> read;
            ASSERT_EQ(stream_.c_str(), std::string());
            EXPECT_TRUE(read.start == 25 && read.name == "reel" && read.text == "End");
        }
    EXPECT_EQ(said(), "");
    const Mw::Ptr<Streamable> copy = title.clone(Streamable::eClone);
    EXPECT_TRUE(packed(*copy) == current && copy->STRM_ctorBuilderType() == Streamable::eClone);
}

// Each record as the layer of a clip that goes before it was read: what comes of it, and where it leaves the
// stream.
TEST_F(StoredObjects, everyRecordHasItsStatusAndText)
{
    const std::string clip = records(2, {clipLayer(7, "x")});
    const std::string wrong = records(2, {{"X", "abc"}, {"Y", "de"}});
    const struct
    {
        unsigned version;
        std::string bytes;
        StreamStatus status;
        std::string text;
        std::size_t position;
    } cases[] = {
        {1, "C", eStreamUnexpectedEOF, endOfFile, 1},
        {2, std::string("C\0\1\0", 4) + allOnes + clip, eStreamUnexpectedEOF, endOfFile, 12},
        {1, std::string("C\0\xFF\0\1\0", 6), eStreamFailed, " Strm1.0 Object has oversized major rev (C). ", 5},
        {1, records(2, {{"$", "", 3, 0}}), eStreamFailed, "Unrecognized version for Streamable base", 4},
        {2, wrong, eStreamWrongLayer, "Expected short name 'C' for layer Clip, got X.", wrong.size()},
        {2, std::string("C\0\1\0\6\0\0\0\5\0\0\0", 12) + "abcdef", eStreamFailed,
         "Chunk sizes do not fit the record around them while unpacking Clip, layer Clip.", 17},
        {2, records(2, {{"C", std::string("\7\0\0\0x\0newer", 11)}}) + clip, eStreamUnpacked, "", 23},
        {2, records(2, {{"C", std::string("\7\0\0\0xy", 6), 3, 4}}) + "z" + '\0', eStreamFailed,
         "Error: Unpacker read beyond end of chunk while unpacking object Clip, layer Clip v3.4, 2 bytes overread.\n",
         20},
    };
    for (const auto& c : cases)
    {
        put(c.bytes);
        stream_.version(c.version);
        Clip object;
        EXPECT_EQ(Clip::STRM_Traits::unpackHeaderAndObject(object, stream_), c.status) << &c - cases;
        EXPECT_EQ(stream_.c_str(), c.text) << &c - cases;
        EXPECT_EQ(file_.position(), c.position) << &c - cases;
    }
    EXPECT_NE(said().find(": Warning: Not all object data was read while unpacking object Clip, layer Clip v1.0, "
                          "5/11 bytes unread.\n"),
              std::string::npos);
}

TEST_F(StoredObjects, sizesOfTheFormerGenerationHaveAnEscape)
{
    for (const unsigned length : {65529u, 65530u, 65531u, 70000u})
    {
        const std::string name(length, 'n');
        put(object(1, "C", {clipLayer(1, name)}));
        Clip read;
        stream_ >> read;
        EXPECT_TRUE(!stream_.failed() && file_.eof() && read.name == name.c_str()) << length;
    }
}

TEST_F(StoredObjects, writerThatFailsLeavesSizesOfOnesAndRevsAreThoseThatPackSet)
{
    EXPECT_EQ(packed(Bin()), object(2, "B", {{"B", std::string(4, '\0'), 7, 9}}));
    put("");
    stream_.append("no more");
    EXPECT_EQ(Bin().STRM_hierarchyPack(stream_), eStreamFailed);
    EXPECT_EQ(written().substr(4, 8), allOnes);
}

// The header of such a layer has left the cache when its sizes are known.
TEST_F(StoredObjects, objectsLargerThanTheCacheComeBackFromAFile)
{
    const TempFolder folder;
    const LightweightString<wchar_t> path = folder.wide() + L"/large";
    const LightweightString<char> text(900'000, 't');
    ASSERT_TRUE(file_.open(path, iFile::eCreateAlways));
    Title title;
    title.text = title.name = text;
    stream_ << title << title;
    ASSERT_TRUE(!stream_.failed() && file_.flush() && file_.open(path, iFile::eOpenExisting));
    for (int count = 0; count < 2; ++count)
    {
        const auto read = Mw::dynamicCast<Title>(theSOManager().readObject(stream_));
        ASSERT_TRUE(read && read->name == text && read->text == text) << stream_.c_str();
    }
}

TEST_F(StoredObjects, unpackingForgetsAnErrorAndRefusesOtherLayersAndSizes)
{
    Title title;
    put(titleObject(2));
    stream_.append("before");
    stream_ >> title;
    EXPECT_TRUE(!stream_.failed() && title.text == "End");
    EXPECT_EQ(said(), "Warning: Attempted to unpack from a stream with error flagged!\n");
    // A last layer whose two sizes are both less by the same is none of a newer program.
    std::string shorter = titleObject(2);
    const std::size_t sizes = shorter.size() - 4 - 8;
    shorter[sizes] = shorter[sizes + 4] = 3;
    put(shorter);
    stream_ >> title;
    EXPECT_EQ(stream_.c_str(),
              std::string("Chunk sizes do not fit the record around them while unpacking Clip.Title, layer Title."));
    for (const auto& [bytes, text] :
         {std::pair(titleObject(2), "Expected hierarchy Streamable.C, got Streamable.C.T"),
          {object(2, "C", {clipLayer(1, ""), {"T", "abc"}}), "Stored layers are left over after unpacking Clip."}})
    {
        Clip clip;
        put(bytes);
        stream_ >> clip;
        EXPECT_EQ(stream_.c_str(), std::string(text));
    }
}
