#pragma once

#include "Mw/LightweightString.h"
#include "OS/Export.h"
#include "misc/identity/Cookie.h"

#include <atomic>
#include <cstdint>

// The allocator of identities. Classic cookies take their numbers from a counter that lasts between runs
// in the file "cookie.num"; cookies of the UUID form need none. Most callers want newCookie, below.
//
// The count is written when the process ends normally, not before: a run that dies hands its numbers out
// again in the next one, whose log says that this one ended badly. Cookie::findHighestCookieNum tells
// which numbers stored objects hold.
//
// Any thread makes cookies; reading, writing and flushing are one thread's at a time.
class MISC_API CookieJar
{
public:
    // The jar of the process, made on first use and flushed at a normal exit.
    static CookieJar& instance();

    CookieJar();
    ~CookieJar();
    CookieJar(const CookieJar&) = delete;
    CookieJar& operator=(const CookieJar&) = delete;

    // The next number. After the highest one, 1679615, which comes with a warning, they begin at 0 again.
    unsigned cookieNum();

    // A new cookie of a letter that Cookie::typeFromChar knows, with a sub-type that it may have. The
    // invalid letter gives the invalid cookie and spends no number. What makes no classic cookie is tried
    // with one number after the other: that call does not return.
    Cookie makeCookie(CookieType type, Cookie::eVersion version, int subType);

    // The form that newCookie gives its cookies: the classic one at first.
    Cookie::eVersion getDefaultCookieVersion() const noexcept;
    void setDefaultCookieVersion(Cookie::eVersion version) noexcept;

    // "cookie.num" in the default directory of projects, as it was when it was first asked for.
    static LightweightString<wchar_t> getCookieDotNumPath();

    // Takes the next number from a file. False if there is none, or it holds no number from 1 to 1679615.
    bool readCookieNum(const LightweightString<wchar_t>& path);

    // Replaces the file by one with the next number. If it can't, the result is false and a loud warning
    // is logged; what is known to be written stays. Others that write the file are waited for, 10 seconds
    // at most. Logs a warning as well if another process has written the file since this jar read or wrote it.
    bool writeCookieNum(const LightweightString<wchar_t>& path);

    // Writes "cookie.num" if it doesn't hold the next number. False if that failed.
    bool flush();

private:
    void init();

    std::atomic<std::uint8_t> defaultVersion_{Cookie::eClassic};
    std::atomic<std::uint32_t> nextNum_{0};
    std::uint32_t writtenNum_ = 0; // what the file holds, as far as this run knows
    std::uint32_t triedNum_ = 0;   // what a write that failed may have left there
};

// A new identity, of the form that the jar is set to. Any thread.
MISC_API Cookie newCookie(CookieType type, int subType);
MISC_API Cookie newContainerCookie();
