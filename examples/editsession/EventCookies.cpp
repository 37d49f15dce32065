#include "examples/editsession/EventCookies.h"

#include "misc/identity/CookieJar.h"
#include "misc/settings/RegistryConfig.h"

namespace
{

constexpr char section[] = "editsession\\Events";
constexpr char lastCookie[] = "last cookie";

// The last one that this run gave.
Cookie given;

} // namespace

Cookie newEventCookie()
{
    // E is a letter whose use the library leaves to its applications, and one that Cookie::isValid lets
    // through, so that the text can serve as a key: here it stands for an event.
    given = newCookie('E', 0);
    return given;
}

bool keepEventCookies()
{
    // The jar comes to life with the first cookie; a run without needs none.
    if (!given.valid())
        return true;
    if (!CookieJar::instance().flush())
        return false;
    UserConfig().setValue(lastCookie, given, section);
    return true;
}

Cookie lastKeptEventCookie()
{
    return UserConfig().getValue(lastCookie, invalid_cookie, section);
}
