#include "misc/persistence/Streamable.h"

#include "StoredObjects.h"
#include "platform/TempFolder.h"

using namespace stored;

namespace
{

std::string titleObject(unsigned version)
{
    return object(version, "C.T", {clipLayer(25, "reel"), {"T", std::string("End\0", 4)}});
}

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
    for (const std::string& bytes : {current, former, former + current, current + former})
    {
        put(bytes);
        while (!file_.eof())
        {
            Title read;
            stream_ >> read;
            ASSERT_EQ(stream_.c_str(), std::string());
            EXPECT_EQ(read.start, 25);
            EXPECT_EQ(read.name, "reel");
            EXPECT_EQ(read.text, "End");
            EXPECT_EQ(read.STRM_unpackedHierarchyName(), "C.T");
        }
    }
}
