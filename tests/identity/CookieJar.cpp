#include "misc/identity/CookieJar.h"

#include "identity/Support.h"
#include "persistence/KilledWriter.h"
#include "platform/TempFolder.h"

#include <algorithm>
#include <new>
#include <thread>
#include <vector>

namespace
{

const Path numberFile(L"/projects/cookie.num");
const char* const failedWrite = "WARNING!!! UNABLE TO UPDATE COOKIE NUMBER FILE\n(/projects/cookie.num)\n";

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
        EXPECT_EQ(jar.makeCookie('V', Cookie::eClassic, 3), Cookie("V03B000B", true));
        EXPECT_EQ(contents(numberFile), "10");
    }
    EXPECT_EQ(contents(numberFile), "12");
    said();
    UserConfig().setValue("Normal Exit", true, "Configuration");
    alignas(CookieJar) unsigned char neverDestroyed[sizeof(CookieJar)];
    EXPECT_EQ((new (neverDestroyed) CookieJar)->cookieNum(), 12u);
    EXPECT_EQ(said(), "");
    EXPECT_EQ(CookieJar().cookieNum(), 12u);
    EXPECT_TRUE(wasSaid("previous run exited incorrectly\n"));
}

TEST_F(Jar, fileWithoutAGoodNumberCountsAsMissing)
{
    for (const char* const bad : {"", "0", "-1", "1679616", "99999999999999999999", "x1"})
    {
        write(numberFile, bad);
        EXPECT_EQ(CookieJar().cookieNum(), 1u) << bad;
        EXPECT_TRUE(wasSaid(" in the current directory or (/projects/cookie.num)\n")) << bad;
    }
    EXPECT_TRUE(contents(numberFile) == "2" && files_.remove(numberFile));
    CookieJar{};
    EXPECT_EQ(contents(numberFile), "1");
}

TEST_F(Jar, threadsThatMeetAtTheLastNumberGetNoneTwice)
{
    write(numberFile, "1679515"); // a hundred before the last
    CookieJar jar;
    std::vector<unsigned> taken(200);
    std::vector<std::thread> takers;
    for (auto mine = taken.begin(); mine != taken.end(); mine += 50)
        takers.emplace_back([&, mine] { std::generate_n(mine, 50, [&] { return jar.cookieNum(); }); });
    for (std::thread& taker : takers)
        taker.join();
    std::sort(taken.begin(), taken.end());
    for (unsigned i = 0; i < taken.size(); ++i)
        ASSERT_EQ(taken[i], i < 99 ? i : 1679515 - 99 + i);
    EXPECT_TRUE(wasSaid("CookieJar::cookieNum() : next Cookie number is too big! ...setting to zero\n"));
}

TEST_F(Jar, onlyClassicCookiesSpendNumbers)
{
    CookieJar& jar = CookieJar::instance();
    jar.readCookieNum(numberFile);
    EXPECT_EQ(newContainerCookie(), Cookie("G00B000A", true));
    EXPECT_EQ(newCookie('S', 255), Cookie("S01B000B", true));
    jar.setDefaultCookieVersion(Cookie::eUuid);
    const Cookie uuid = newCookie('V', 7);
    EXPECT_TRUE(uuid.isUuid() && uuid.uuid().valid() && uuid.subType() == 7 && uuid != newCookie('V', 7));
    jar.setDefaultCookieVersion(Cookie::eClassic);
    jar.flush();
    EXPECT_EQ(contents(numberFile), "12");
}

TEST_F(Jar, waitsOnlySoLongForWhoHoldsTheLock)
{
    HastyClock clock;
    const OSReplacement<iDebugger> replaced(clock);
    CookieJar jar;
    jar.cookieNum();
    write(L"/projects/cookie.num.5-6-7.TMP", "left by a writer that is gone");
    const Mw::Ptr<iFile> lock =
        OS().fileMgr().openFile(L"/projects/cookie.num.lock", iFile::eWrite, iFile::eOpenAlways);
    ASSERT_TRUE(lock->lock(iFile::eLockExclusive, iFile::eTryLock));
    EXPECT_FALSE(jar.flush());
    EXPECT_TRUE(wasSaid(failedWrite) && files_.exists(L"/projects/cookie.num.5-6-7.TMP"));
    lock->unlock();
    EXPECT_TRUE(jar.flush() && contents(numberFile) == "11" && !files_.exists(L"/projects/cookie.num.5-6-7.TMP"));
}

TEST_F(Jar, whoeverOverwritesAnotherSaysSo)
{
    CookieJar one, other;
    for (const auto& [jar, number, warns] : {std::tuple(&one, 11, false), {&one, 12, false}, {&other, 11, true}})
    {
        jar->cookieNum();
        EXPECT_TRUE(jar->flush() && contents(numberFile) == std::to_string(number)) << number;
        EXPECT_EQ(wasSaid("another process has written 12 to the cookie number file"), warns) << number;
    }
}

TEST_F(Jar, keepsTheOldNumberOrTheNewWhateverFails)
{
    for (auto [n, reached] = std::pair(1, true); reached; ++n)
    {
        MemoryFileMgr files;
        const OSReplacement<iFileMgr> memory(files);
        write(numberFile, "10");
        write(L"/projects/cookie.num.lock", "");
        FailingFileMgr failing(files, FailingFileMgr::eAllCalls);
        const OSReplacement<iFileMgr> replaced(failing);
        CookieJar jar;
        jar.cookieNum();

        failing.failAt(n);
        const bool good = jar.writeCookieNum(numberFile);
        reached = failing.calls() >= n;
        failing.failAt(0);
        EXPECT_NE(wasSaid(failedWrite), good) << n;
        EXPECT_TRUE(good || n != 1) << "the lock file of another user serves";
        EXPECT_TRUE(contents(numberFile) == "11" || (!good && contents(numberFile) == "10")) << n;

        // What failed is tried again, and is nobody else's.
        EXPECT_TRUE(jar.flush() && said().empty()) << n;
        files.loseUnflushed();
        EXPECT_EQ(contents(numberFile), "11") << n;
    }
}

TEST_F(Diagnostics, cookieNumberThatWasPromisedIsThereWhenItsWriterIsKilled)
{
    const TempFolder folder;
    const Path path = TempFolder::wideOf(folder.path() / "cookie.num");
    write(path, "1");
    const auto begin = [&]
    {
        static CookieJar jar;
        jar.readCookieNum(path);
        return [&] { return jar.cookieNum() != 0 && jar.writeCookieNum(path); };
    };
    killWriters(100, begin, [&] { return std::stol(contents(path)); });
}

TEST_F(Jar, highestNumberIsThatOfThisMachinesObjects)
{
    // Machine 5 has the code characters 0 and B.
    for (const wchar_t* const name :
         {L"P00B0002", L"P03B000A", L"V00B0009", L"P00C00ZZ", L"A00B00ZZ", L"P00B00ZZ.old", L"P00B00Z"})
        EXPECT_TRUE(files_.ensureDirectory(Mw::joinPath(L"/projects", name)));
    EXPECT_EQ(Cookie::findHighestCookieNum(), 10);
}
