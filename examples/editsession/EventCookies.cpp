#include "examples/editsession/EventCookies.h"

#include "misc/identity/CookieJar.h"

Cookie newEventCookie()
{
    // E is a letter whose use the library leaves to its applications, and one that Cookie::isValid lets
    // through, so that the text can serve as a key: here it stands for an event.
    return newCookie('E', 0);
}
