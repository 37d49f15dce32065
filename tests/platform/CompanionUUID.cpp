#include "libmw/UUID.h"

#include <cctype>
#include <cstring>
#include <gtest/gtest.h>
#include <set>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

const std::string sample = "01234567-89ab-cdef-0123-456789abcdef";

std::string text(const Mw::UUID& uuid)
{
    char buffer[Mw::UUID::textLength + 1];
    uuid.asString(buffer);
    return buffer;
}

} // namespace

TEST(UUID, everyCharacterAtEveryPlaceIsReadOrRefused)
{
    const Mw::UUID sampleUuid({0x01234567, 0x89abcdef, 0x01234567, 0x89abcdef});
    wchar_t buffer[Mw::UUID::textLength + 1];
    sampleUuid.asWString(buffer);
    EXPECT_TRUE(Mw::UUID(sample.c_str()) == sampleUuid && Mw::UUID(buffer) == sampleUuid);
    for (std::size_t place = 0; place < sample.size(); ++place)
    {
        EXPECT_FALSE(Mw::UUID(sample.substr(0, place).c_str()).valid()) << place;
        for (int c = 0; c < 256; ++c)
        {
            std::string changed(sample);
            changed[place] = static_cast<char>(c);
            const bool allowed = sample[place] == '-' ? c == '-' : c != 0 && std::strchr("0123456789abcdefABCDEF", c);
            const Mw::UUID uuid(changed.c_str());
            ASSERT_EQ(uuid.valid(), allowed) << place << ' ' << c;
            ASSERT_EQ(Mw::UUID(std::wstring(changed.begin(), changed.end()).c_str()), uuid) << place << ' ' << c;
            changed[place] = static_cast<char>(std::tolower(c));
            ASSERT_TRUE(!allowed || text(uuid) == changed) << place << ' ' << c;
        }
    }
    EXPECT_FALSE(Mw::UUID((sample + "0").c_str()).valid() || Mw::UUID(static_cast<const char*>(nullptr)).valid());
    EXPECT_FALSE(Mw::UUID("00000000-0000-0000-0000-000000000000").valid());
    buffer[0] = L'\x10030'; // a digit in its lowest bits
    EXPECT_FALSE(Mw::UUID(buffer).valid());
}

TEST(UUID, parentAndForkedChildMakeDifferentRandomOnes)
{
    std::set<Mw::UUID> made;
    const auto generate = [&](int count)
    {
        for (; count > 0; --count)
            EXPECT_TRUE(made.insert(Mw::UUID::generate()).second);
    };
    generate(1000); // leaves a part of the stock, which is shared
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    const pid_t child = ::fork();
    if (child == 0)
    {
        const Mw::UUID uuid = Mw::UUID::generate();
        ::_exit(::write(ends[1], &uuid, sizeof uuid) == sizeof uuid ? 0 : 1);
    }
    Mw::UUID fromChild;
    EXPECT_EQ(::read(ends[0], &fromChild, sizeof fromChild), static_cast<ssize_t>(sizeof fromChild));
    ::waitpid(child, nullptr, 0);
    ::close(ends[0]);
    ::close(ends[1]);
    made.insert(fromChild);
    generate(100);
    for (const Mw::UUID& uuid : made)
        EXPECT_TRUE((uuid.words()[1] >> 12 & 15) == 4 && uuid.words()[2] >> 30 == 2) << text(uuid);
}
