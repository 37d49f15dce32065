#include "misc/identity/CookieJar.h"

#include "identity/Support.h"

#include <algorithm>
#include <new>
#include <thread>
#include <vector>

namespace
{

const LightweightString<wchar_t> numberFile(L"/projects/cookie.num");
const char* const failedWrite = "WARNING!!! UNABLE TO UPDATE COOKIE NUMBER FILE\n(/projects/cookie.num)\n"
                                " This WILL cause repeat cookies and missing shots.\n DO SOMETHING NOW!!!\n";

std::string text(const Cookie& cookie)
{
    return cookie.asString(true).c_str();
}

class Jar : public MachineInMemory
{
protected:
    Jar() { write(numberFile, "10"); }
};

} // namespace

TEST_F(Jar, countGoesOnInTheNextRunAndRepeatsAfterACrash)
{
    {
        CookieJar jar;
        EXPECT_EQ(jar.cookieNum(), 10u);
        EXPECT_EQ(text(jar.makeCookie('V', Cookie::eClassic, 3)), "V03B000B");
        EXPECT_EQ(contents(numberFile), "10");
    }
    EXPECT_EQ(contents(numberFile), "12");
    EXPECT_EQ(said().find("cookie"), std::string::npos);

    UserConfig().setValue("Normal Exit", true, "Configuration");
    alignas(CookieJar) unsigned char neverDestroyed[sizeof(CookieJar)];
    EXPECT_EQ((new (neverDestroyed) CookieJar)->cookieNum(), 12u);
    EXPECT_EQ(said(), "");

    CookieJar afterCrash;
    EXPECT_NE(said().find("previous run exited incorrectly\n"), std::string::npos);
    EXPECT_EQ(afterCrash.cookieNum(), 12u);
}

TEST_F(Jar, fileWithoutAGoodNumberCountsAsMissing)
{
    for (const char* const bad : {"", "0", "-1", "1679616", "99999999999999999999", "x1"})
    {
        write(numberFile, bad);
        CookieJar jar;
        const std::string log = said();
        EXPECT_NE(log.find("WARNING!!! UNABLE TO FIND COOKIE NUMBER FILE"), log.npos) << bad;
        EXPECT_NE(log.find(" in the current directory or (/projects/cookie.num)\n"), log.npos) << bad;
        EXPECT_EQ(jar.cookieNum(), 1u) << bad;
    }
    EXPECT_TRUE(files_.remove(numberFile));
    CookieJar{};
    EXPECT_EQ(contents(numberFile), "1");
    write(numberFile, " 7\n and more");
    EXPECT_EQ(CookieJar().cookieNum(), 7u);
}

TEST_F(Jar, threadsThatMeetAtTheLastNumberGetNoneTwice)
{
    write(numberFile, "1679515"); // a hundred before the last
    CookieJar jar;
    std::vector<unsigned> taken[4];
    std::vector<std::thread> takers;
    for (std::vector<unsigned>& mine : taken)
        takers.emplace_back(
            [&]
            {
                for (int i = 0; i < 50; ++i)
                    mine.push_back(jar.cookieNum());
            });
    std::vector<unsigned> all;
    for (std::size_t i = 0; i < takers.size(); ++i)
    {
        takers[i].join();
        all.insert(all.end(), taken[i].begin(), taken[i].end());
    }
    std::sort(all.begin(), all.end());
    for (unsigned i = 0; i < all.size(); ++i)
        ASSERT_EQ(all[i], i < 99 ? i : 1679515 - 99 + i);
    EXPECT_EQ(occurrences(said(), "CookieJar::cookieNum() : next Cookie number is too big! ...setting to zero\n"), 1u);
}

TEST_F(Jar, onlyClassicCookiesSpendNumbers)
{
    CookieJar& jar = CookieJar::instance();
    jar.readCookieNum(numberFile);
    EXPECT_EQ(text(newContainerCookie()), "G00B000A");
    EXPECT_EQ(text(newCookie('S', 255)), "S01B000B");
    jar.setDefaultCookieVersion(Cookie::eUuid);
    const Cookie uuid = newCookie('V', 7);
    EXPECT_TRUE(uuid.isUuid() && uuid.uuid().valid() && uuid != newCookie('V', 7));
    EXPECT_EQ(text(uuid).substr(0, 4), "V07-");
    EXPECT_FALSE(newCookie('I', 0).isUuid());
    jar.setDefaultCookieVersion(Cookie::eClassic);
    EXPECT_FALSE(newCookie('I', 0).valid());
    EXPECT_EQ(text(newCookie('V', 0)), "V00B000C");
    jar.flush();
    EXPECT_EQ(contents(numberFile), "13");
}

TEST_F(Jar, waitsOnlySoLongForWhoHoldsTheLock)
{
    HastyClock clock;
    const OSReplacement<iDebugger> replaced(clock);
    CookieJar jar;
    jar.cookieNum();
    said();
    write(L"/projects/cookie.num.5-6-7.TMP", "1");
    write(L"/projects/cookie.num2.TMP", "1");
    const Mw::Ptr<iFile> lock =
        OS().fileMgr().openFile(L"/projects/cookie.num.lock", iFile::eWrite, iFile::eOpenAlways);
    ASSERT_TRUE(lock->lock(iFile::eLockExclusive, iFile::eTryLock));
    EXPECT_FALSE(jar.flush());
    EXPECT_EQ(occurrences(said(), failedWrite), 1u);
    EXPECT_TRUE(files_.exists(L"/projects/cookie.num.5-6-7.TMP"));

    // Then it also takes away what a writer left that is gone.
    lock->unlock();
    EXPECT_TRUE(jar.flush());
    EXPECT_EQ(contents(numberFile), "11");
    EXPECT_FALSE(files_.exists(L"/projects/cookie.num.5-6-7.TMP"));
    EXPECT_TRUE(files_.exists(L"/projects/cookie.num2.TMP"));
}

// Each number of one that the other replaced is told of by the other, the last one of the loser, too.
TEST_F(Jar, whoeverOverwritesAnotherSaysSo)
{
    constexpr unsigned writes = 40;
    const unsigned firsts[] = {1000, 500000};
    std::vector<std::thread> writers;
    for (const unsigned first : firsts)
        writers.emplace_back(
            [=]
            {
                CookieJar jar;
                const LightweightString<wchar_t> own = first == 1000 ? L"/projects/a" : L"/projects/b";
                write(own, std::to_string(first));
                jar.readCookieNum(own);
                for (unsigned i = 0; i < writes; ++i)
                {
                    jar.cookieNum();
                    jar.writeCookieNum(numberFile);
                }
            });
    for (std::thread& writer : writers)
        writer.join();
    const std::string log = said(), last = contents(numberFile);
    for (const unsigned first : firsts)
        for (unsigned number = first + 1; number <= first + writes; ++number)
        {
            const bool overwritten = number == first + writes
                                         ? std::to_string(number) != last
                                         : log.find("becomes " + std::to_string(number + 1) + ".") != log.npos;
            EXPECT_EQ(log.find("has written " + std::to_string(number) + " ") != log.npos, overwritten) << number;
        }
}

TEST_F(Jar, keepsTheOldNumberOrTheNewWhateverFails)
{
    for (auto [n, reached] = std::pair(1, true); reached; ++n)
    {
        MemoryFileMgr files;
        const OSReplacement<iFileMgr> memory(files);
        write(numberFile, "10");
        FailingFileMgr failing(files, FailingFileMgr::eAllCalls);
        const OSReplacement<iFileMgr> replaced(failing);
        CookieJar jar;
        jar.cookieNum();
        said();

        failing.failAt(n);
        const bool good = jar.writeCookieNum(numberFile);
        reached = failing.calls() >= n;
        failing.failAt(0);
        EXPECT_EQ(occurrences(said(), failedWrite), good ? 0u : 1u) << n;
        EXPECT_TRUE(contents(numberFile) == "11" || (!good && contents(numberFile) == "10")) << n;

        // What failed is tried again, and is nobody else's.
        EXPECT_TRUE(jar.flush() && said().empty()) << n;
        files.loseUnflushed();
        EXPECT_EQ(contents(numberFile), "11") << n;
    }
}

TEST_F(Jar, highestNumberIsThatOfThisMachinesObjects)
{
    // Machine 5 has the code characters 0 and B.
    for (const char* const name :
         {"P00B0002", "P03B000A", "V00B0009", "P00C00ZZ", "A00B00ZZ", "P00B00ZZ.old", "P00B00Z"})
        EXPECT_TRUE(files_.ensureDirectory(fromUTF8(("/projects/" + std::string(name)).c_str())));
    EXPECT_EQ(Cookie::findHighestCookieNum(), 10);
    EXPECT_NE(said().find("Highest Cookie num found is 10\n"), std::string::npos);
}
