#include "libmw/UUID.h"

#include <cctype>
#include <cstring>
#include <gtest/gtest.h>
#include <set>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace
{

constexpr char sample[] = "01234567-89ab-cdef-0123-456789abcdef";
constexpr Mw::UUID sampleUuid({0x01234567, 0x89abcdef, 0x01234567, 0x89abcdef});

std::string text(const Mw::UUID& uuid)
{
    char buffer[Mw::UUID::textLength + 1];
    uuid.asString(buffer);
    return buffer;
}

std::wstring wide(const std::string& text)
{
    return {text.begin(), text.end()};
}

} // namespace

TEST(UUID, badTextsAndNilAreNotValid)
{
    const std::string good(sample);
    EXPECT_FALSE(Mw::UUID().valid());
    EXPECT_FALSE(Mw::UUID(static_cast<const char*>(nullptr)).valid());
    EXPECT_FALSE(Mw::UUID("00000000-0000-0000-0000-000000000000").valid());
    for (std::size_t length = 0; length < good.size(); ++length)
        EXPECT_FALSE(Mw::UUID(good.substr(0, length).c_str()).valid()) << length;
    EXPECT_FALSE(Mw::UUID((good + "0").c_str()).valid());
    EXPECT_FALSE(Mw::UUID(("{" + good + "}").c_str()).valid());
}

TEST(UUID, everyCharacterAtEveryPlaceIsReadOrRefused)
{
    const std::string good(sample);
    EXPECT_EQ(Mw::UUID(sample), sampleUuid);
    wchar_t buffer[Mw::UUID::textLength + 1];
    sampleUuid.asWString(buffer);
    EXPECT_EQ(buffer, wide(good));
    for (std::size_t place = 0; place < good.size(); ++place)
        for (int c = 0; c < 256; ++c)
        {
            std::string changed(good);
            changed[place] = static_cast<char>(c);
            const bool allowed = good[place] == '-' ? c == '-' : c != 0 && std::strchr("0123456789abcdefABCDEF", c);
            const Mw::UUID uuid(changed.c_str());
            ASSERT_EQ(uuid.valid(), allowed) << place << ' ' << c;
            std::wstring changedWide(wide(good));
            changedWide[place] = static_cast<wchar_t>(c);
            ASSERT_EQ(Mw::UUID(changedWide.c_str()), uuid) << place << ' ' << c;
            if (allowed)
            {
                changed[place] = static_cast<char>(std::tolower(c));
                ASSERT_EQ(text(uuid), changed);
            }
        }
    EXPECT_FALSE(Mw::UUID(L"\x10031"
                          L"1234567-89ab-cdef-0123-456789abcdef")
                     .valid());
}

TEST(UUID, orderIsThatOfTheWordsAndOfTheTexts)
{
    const Mw::UUID ordered[] = {Mw::UUID(),
                                Mw::UUID({0, 0, 0, 1}),
                                Mw::UUID({0, 1, 0, 0}),
                                Mw::UUID({9, 0, 0, 0}),
                                Mw::UUID({10, 0, 0, 0}),
                                Mw::UUID({0x80000000u, 0, 0, 0})};
    for (const Mw::UUID& a : ordered)
        for (const Mw::UUID& b : ordered)
        {
            EXPECT_EQ(a < b, &a < &b);
            EXPECT_EQ(a != b, &a != &b);
            EXPECT_EQ(text(a) < text(b), a < b);
        }
}

TEST(UUID, generatedValuesDifferAndAreRandomOnes)
{
    std::set<Mw::UUID> made;
    for (int i = 0; i < 1000; ++i)
    {
        const Mw::UUID uuid = Mw::UUID::generate();
        EXPECT_EQ(uuid.words()[1] >> 12 & 15, 4u);
        EXPECT_EQ(uuid.words()[2] >> 30, 2u);
        EXPECT_TRUE(made.insert(uuid).second);
    }
}

TEST(UUID, parentAndForkedChildMakeDifferentOnes)
{
    Mw::UUID::generate(); // so that there is stock to share
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
    EXPECT_TRUE(fromChild.valid());
    for (int i = 0; i < 100; ++i)
        EXPECT_NE(Mw::UUID::generate(), fromChild);
}

TEST(UUID, areMadeUntilTheVeryEndOfAThread)
{
    // Made before the thread's stock, and so destroyed after it.
    struct Late
    {
        std::set<Mw::UUID>* made = nullptr;
        ~Late()
        {
            for (int i = 0; i < 3; ++i)
                EXPECT_TRUE(made->insert(Mw::UUID::generate()).second);
        }
    };
    std::set<Mw::UUID> made;
    std::thread(
        [&]
        {
            thread_local Late late;
            late.made = &made;
            for (int i = 0; i < 1100; ++i)
                EXPECT_TRUE(made.insert(Mw::UUID::generate()).second);
        })
        .join();
}
