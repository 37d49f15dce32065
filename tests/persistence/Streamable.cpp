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
    {
        put(bytes);
        while (!file_.eof())
        {
            Title read;
            stream_ >> read;
            ASSERT_EQ(stream_.c_str(), std::string());
            EXPECT_TRUE(read.start == 25 && read.name == "reel" && read.text == "End");
            EXPECT_EQ(read.STRM_unpackedHierarchyName(), bytes == fullNames ? "Clip.Title" : "C.T");
        }
    }
    EXPECT_EQ(said(), "");
    EXPECT_EQ(title.hierarchyName(true, true) + title.className(), "$.C.TClip.Title");
    const Mw::Ptr<Streamable> copy = title.clone(Streamable::eClone);
    EXPECT_TRUE(packed(*copy) == current && copy->STRM_ctorBuilderType() == Streamable::eClone);
    EXPECT_EQ(Streamable::compareTypes(copy.get(), &title), 0);
}

// Each record as the layer of a clip that goes before it was read: what comes of it, and where it leaves the
// stream.
TEST_F(StoredObjects, everyRecordHasItsStatusAndText)
{
    const std::string clip = records(2, {clipLayer(7, "x")});
    const std::string wrong = records(2, {{"X", "abc"}, {"Y", "de"}});
    const struct
    {
        const char* what;
        unsigned version;
        std::string bytes;
        StreamStatus status;
        std::string text;
        std::size_t position;
    } cases[] = {
        {"end of file", 2, "", eStreamUnexpectedEOF, endOfFile, 0},
        {"no body", 2, std::string("C\0\1\0\0\0\0\0\0\0\0\0", 12), eStreamUnpacked, "", 12},
        {"cut name", 1, "C", eStreamUnexpectedEOF, endOfFile, 1},
        {"sizes of ones", 2, std::string("C\0\1\0", 4) + allOnes + clip, eStreamUnexpectedEOF, endOfFile, 12},
        {"large major", 1, std::string("C\0\xFF\0\1\0", 6), eStreamFailed,
         " Strm1.0 Object has oversized major rev (C). ", 5},
        {"rev with escape", 1, std::string("C\0\xFF\xFF\0\0\0\0\0\0", 10), eStreamUnpacked, "", 10},
        {"base of version 3", 1, records(2, {{"$", "", 3, 0}}), eStreamFailed,
         "Unrecognized version for Streamable base", 4},
        {"base in its place", 1, records(2, {{"$", "abc", 2, 0}, {"Y", "de"}}), eStreamWrongLayer,
         "Expected short name 'C' for layer Clip, got $.", 29},
        {"another layer", 2, wrong, eStreamWrongLayer, "Expected short name 'C' for layer Clip, got X.", wrong.size()},
        {"no name", 2, records(2, {{"", "abc"}}), eStreamUnpacked, "", 14},
        {"layer beyond hierarchy", 2, std::string("C\0\1\0\6\0\0\0\5\0\0\0", 12) + "abcdef", eStreamFailed,
         "Chunk sizes do not fit the record around them while unpacking Clip, layer Clip.", 17},
        {"more than is read", 2, records(2, {{"C", std::string("\7\0\0\0x\0newer", 11)}}) + clip, eStreamUnpacked, "",
         23},
        {"less than is read", 2, records(2, {{"C", std::string("\7\0\0\0xy", 6), 3, 4}}) + "z" + '\0', eStreamFailed,
         "Error: Unpacker read beyond end of chunk while unpacking object Clip, layer Clip v3.4, 2 bytes overread.\n",
         20},
    };
    for (const auto& c : cases)
    {
        put(c.bytes);
        stream_.version(c.version);
        Clip object;
        EXPECT_EQ(Clip::STRM_Traits::unpackHeaderAndObject(object, stream_), c.status) << c.what;
        EXPECT_EQ(stream_.c_str(), c.text) << c.what;
        EXPECT_EQ(file_.position(), c.position) << c.what;
    }
    const std::string log = said();
    const std::string warning =
        ": Warning: Not all object data was read while unpacking object Clip, layer Clip v1.0, ";
    for (const char* unread : {"3/3 bytes unread.\n", "5/11 bytes unread.\n"})
        EXPECT_NE(log.find(warning + unread), log.npos) << log;
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
    Bin bin;
    bin.objects.push_back(Mw::makePtr<Bin>());
    bool isFull = true;
    bin.onPack = [&](const Bin& packing, PStream& stream)
    {
        packing.setRevs(7, 9);
        if (isFull && packing.objects.empty())
            stream.append("no more");
    };
    EXPECT_EQ(packed(bin).substr(4, 8), allOnes);
    EXPECT_EQ(bin.STRM_hierarchyPack(stream_), eStreamFailed);
    EXPECT_EQ(stream_.c_str(), std::string("no moreno more"));
    isFull = false;
    bin.objects.clear();
    EXPECT_EQ(packed(bin), object(2, "B", {{"B", std::string(4, '\0'), 7, 9}}));
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
    while (!file_.eof())
    {
        const auto read = Mw::dynamicCast<Title>(theSOManager().readObject(stream_));
        ASSERT_TRUE(read && read->name == text && read->text == text) << stream_.c_str();
    }
}

TEST_F(StoredObjects, errorOnTheStreamIsForgottenByUnpacking)
{
    put(titleObject(2));
    stream_.append("before");
    Title read;
    stream_ >> read;
    EXPECT_EQ(stream_.c_str(), std::string());
    EXPECT_EQ(read.text, "End");
    EXPECT_EQ(said(), "Warning: Attempted to unpack from a stream with error flagged!\n");
    Clip other;
    put(titleObject(2));
    stream_ >> other;
    EXPECT_EQ(stream_.c_str(), std::string("Expected hierarchy Streamable.C, got Streamable.C.T"));
    put(object(2, "C", {clipLayer(1, ""), {"T", "abc"}}));
    stream_ >> other;
    EXPECT_EQ(stream_.c_str(), std::string("Stored layers are left over after unpacking Clip."));
    // A last layer whose two sizes are both less by the same is none of a newer program.
    std::string shorter = titleObject(2);
    const std::size_t sizes = shorter.size() - 4 - 8;
    shorter[sizes] = shorter[sizes + 4] = 3;
    stream_.clear();
    put(shorter);
    stream_ >> read;
    EXPECT_EQ(stream_.c_str(),
              std::string("Chunk sizes do not fit the record around them while unpacking Clip.Title, layer Title."));
}

TEST_F(StoredObjects, chunkIsReadAsBinaryWithinTheFile)
{
    const std::string following = records(2, {{"T", "d"}});
    const struct
    {
        std::string bytes;
        std::string expected;
        bool isWhole = true;
    } cases[] = {{records(2, {{"C", "abc"}}) + "more", "abc"},
                 {records(2, {{"C", "abc"}, {"T", "d"}}), "abc" + following},
                 {records(2, {{"C", ""}}), "(none)"},
                 {std::string("C\0\1\0\4\0\0\0\4\0\0\0abc", 15), "(none)", false},
                 {"abcdefg", "(none)", false}};
    for (const auto& c : cases)
    {
        put(c.bytes);
        file_.setPosition(std::min<std::size_t>(12, c.bytes.size()));
        ByteBuffer read;
        Streamable::readChunkAsBinary(stream_, read);
        EXPECT_EQ(read ? std::string(reinterpret_cast<char*>(read->data()), read->length()) : "(none)", c.expected);
        EXPECT_EQ(stream_.c_str(), std::string(c.isWhole ? "" : "Unexpected EOF."));
    }
    EXPECT_NE(said().find("assertion failed layerChunkSize == hierarchyChunkSize at misc/Streamable line "),
              std::string::npos);
}
