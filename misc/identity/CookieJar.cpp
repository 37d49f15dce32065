#include "misc/identity/CookieJar.h"

#include "OS/FileMgr.h"
#include "OS/OS.h"
#include "libmw/Text.h"
#include "misc/diagnostics/Log.h"
#include "misc/identity/NumberFileLock.h"
#include "misc/settings/Directories.h"
#include "misc/settings/RegistryConfig.h"
#include "misc/settings/ValueText.h"

#include <algorithm>
#include <string_view>
#include <utility>
#include <vector>

namespace
{

using Path = LightweightString<wchar_t>;

constexpr std::uint32_t lastNumber = Cookie::numberLimit - 1;

// The number in a file, 0 if there is no file or no number from 1 to the last one in it.
std::uint32_t storedNumber(const Path& path)
{
    char text[256 + 1] = {};
    const Mw::Ptr<iFile> file = OS().fileMgr().openFile(path);
    if (!file->isOpen() || file->read(text, sizeof text - 1, 0) < 0)
        return 0;
    const long number = Mw::valuetext::toLong(text);
    return number >= 1 && number <= long{lastNumber} ? static_cast<std::uint32_t>(number) : 0;
}

// The warnings are logged whole, however long the path is.

void warnOfMissingNumberFile(const Path& path)
{
    LogBoth("******************************************\n\n");
    LogBoth(" WARNING!!! UNABLE TO FIND COOKIE NUMBER FILE\n");
    LogStringBoth((" in the current directory or (" + toUTF8(path) + ")\n").c_str());
    LogBoth(" This WILL cause repeat cookies and missing shots.\n");
    LogBoth(" System will attempt to repair automatically\n\n");
    LogBoth("******************************************\n");
}

void warnOfFailedWrite(const Path& path)
{
    LogStringBoth(("******************************************\n\n"
                   "WARNING!!! UNABLE TO UPDATE COOKIE NUMBER FILE\n(" +
                   toUTF8(path) +
                   ")\n This WILL cause repeat cookies and missing shots.\n DO SOMETHING NOW!!!\n \n"
                   " **************************************\n")
                      .c_str());
}

void warnOfAnotherWriter(const Path& path, std::uint32_t theirs, std::uint32_t ours)
{
    LightweightString<char> text("CookieJar::writeCookieNum() : another process has written ");
    text += theirs;
    text += " to the cookie number file (";
    text += toUTF8(path);
    text += "), which becomes ";
    text += ours;
    text += ". Cookies may repeat.\n";
    LogStringBoth(text.c_str());
}

} // namespace

CookieJar& CookieJar::instance()
{
    static CookieJar jar;
    return jar;
}

CookieJar::CookieJar()
{
    init();
}

CookieJar::~CookieJar()
{
    flush();
}

void CookieJar::init()
{
    if (!readCookieNum(getCookieDotNumPath()))
    {
        warnOfMissingNumberFile(getCookieDotNumPath());
        // The count then differs from what is written, so that the next flush makes the file.
        cookieNum();
    }
    if (!UserConfig().getValue("Normal Exit", false, "Configuration"))
        Log("previous run exited incorrectly\n");
    UserConfig().setValue("Normal Exit", false, "Configuration");
}

unsigned CookieJar::cookieNum()
{
    // One step, also at the end of the numbers: threads that meet there get no number twice.
    std::uint32_t number = nextNum_.load(std::memory_order_relaxed);
    while (!nextNum_.compare_exchange_weak(number, number < lastNumber ? number + 1 : 0, std::memory_order_relaxed))
    {
    }
    if (number >= lastNumber) [[unlikely]]
        LogBoth("CookieJar::cookieNum() : next Cookie number is too big! ...setting to zero\n");
    return number;
}

Cookie CookieJar::makeCookie(CookieType type, Cookie::eVersion version, int subType)
{
    if (type == Cookie::invalidType)
        return Cookie();
    if (version != Cookie::eClassic)
        return Cookie(type, Mw::UUID::generate(), subType);
    for (;;)
        if (const Cookie cookie(type, static_cast<int>(cookieNum()), subType, Cookie::localMachine); cookie.valid())
            return cookie;
}

Cookie::eVersion CookieJar::getDefaultCookieVersion() const noexcept
{
    return static_cast<Cookie::eVersion>(defaultVersion_.load(std::memory_order_relaxed));
}

void CookieJar::setDefaultCookieVersion(Cookie::eVersion version) noexcept
{
    defaultVersion_.store(static_cast<std::uint8_t>(version), std::memory_order_relaxed);
}

Path CookieJar::getCookieDotNumPath()
{
    // Never destroyed: the jar writes at exit, and threads may still make cookies then.
    static const Path& path = *new Path(Mw::joinPath(getDefaultLocalProjectsDir(), L"cookie.num"));
    return path;
}

bool CookieJar::readCookieNum(const Path& path)
{
    const std::uint32_t number = storedNumber(path);
    if (number == 0)
        return false;
    nextNum_.store(number, std::memory_order_relaxed);
    writtenNum_ = number;
    return true;
}

bool CookieJar::writeCookieNum(const Path& path)
{
    const std::uint32_t number = nextNum_.load(std::memory_order_relaxed);
    const LightweightString<char> text = StringFromInteger(static_cast<int>(number));

    const NumberFileLock lock(path);
    const std::uint32_t found = storedNumber(path);
    const std::uint32_t triedBefore = std::exchange(triedNum_, number);
    if (!lock.isHeld() || !Mw::replaceFile(path, text.c_str(), text.length()))
    {
        warnOfFailedWrite(path);
        return false;
    }
    // Told by whoever comes second.
    if (found != 0 && found != writtenNum_ && found != triedBefore)
        warnOfAnotherWriter(path, found, number);
    writtenNum_ = number;
    return true;
}

bool CookieJar::flush()
{
    return nextNum_.load(std::memory_order_relaxed) == writtenNum_ || writeCookieNum(getCookieDotNumPath());
}

Cookie newCookie(CookieType type, int subType)
{
    CookieJar& jar = CookieJar::instance();
    return jar.makeCookie(type, jar.getDefaultCookieVersion(), subType);
}

Cookie newContainerCookie()
{
    return newCookie('G', 0);
}

int Cookie::findHighestCookieNum()
{
    const int machine = getLocalMachineNumber();
    // A number that a setting gives may have no code, and so no texts.
    if (machine <= 0 || machine >= static_cast<int>(machineLimit))
        return 0;

    // One count serves all letters.
    const LightweightString<wchar_t> text = Cookie('P', 0, 0, machine).asWString();
    std::vector<Path> patterns;
    for (const wchar_t letter : std::wstring_view(L"PBCEFGMORSTV"))
    {
        const wchar_t pattern[] = {letter, text[1], L'?', text[3], L'?', L'?', L'?', L'?', 0};
        patterns.emplace_back(pattern);
    }
    unsigned highest = 0;
    for (const Path& name : getDirListing(getProjectsBaseDirectory(), patterns))
        if (const Cookie cookie(name, false); cookie.valid() && cookie.machine() == static_cast<unsigned>(machine))
            highest = std::max(highest, cookie.number());
    LogBoth("Highest Cookie num found is %u\n", highest);
    return static_cast<int>(highest);
}
