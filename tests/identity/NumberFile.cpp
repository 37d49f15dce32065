// What files in memory do not show: a jar that is killed, and another user's lock.

#include "identity/Support.h"
#include "misc/identity/CookieJar.h"
#include "persistence/KilledWriter.h"
#include "platform/TempFolder.h"

#include <fstream>

namespace
{

class NumberFile : public QuietTest
{
protected:
    std::string read() const
    {
        std::ifstream file(file_);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    // The next number of a jar that began with the one in the file.
    bool writeNext(CookieJar& jar) const
    {
        jar.cookieNum();
        return jar.writeCookieNum(path_);
    }

    TestDesktop desktop_; // with settings in memory
    const OSReplacement<iDesktop> desktopReplaced_{desktop_};
    const TempFolder folder_;
    const std::filesystem::path file_ = folder_.path() / "cookie.num";
    const LightweightString<wchar_t> path_ = TempFolder::wideOf(file_);
};

} // namespace

TEST_F(NumberFile, holdsWhatWasPromisedWhenItsWriterIsKilled)
{
    std::ofstream(file_) << 1;
    const auto begin = [&]
    {
        static CookieJar jar;
        jar.readCookieNum(path_);
        return [&] { return writeNext(jar); };
    };
    const auto found = [&]
    {
        const long number = std::atol(read().c_str());
        EXPECT_EQ(read(), std::to_string(number));
        return number;
    };
    killWriters(100, begin, found);
}

TEST_F(NumberFile, lockFileOfAnotherUserServes)
{
    std::ofstream(file_) << 7;
    std::ofstream(file_.string() + ".lock") << 0;
    std::filesystem::permissions(file_.string() + ".lock", std::filesystem::perms(0444));
    std::filesystem::permissions(folder_.path(), std::filesystem::perms(0777));
    const pid_t child = ::fork();
    if (child == 0)
    {
        CookieJar jar;
        jar.readCookieNum(path_);
        const bool isOther = ::geteuid() != 0 || ::setuid(65534) == 0; // the superuser may write to anything
        ::_exit(isOther && writeNext(jar) ? 0 : 1);
    }
    int status = -1;
    ::waitpid(child, &status, 0);
    EXPECT_TRUE(status == 0 && read() == "8");
}
