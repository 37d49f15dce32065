#pragma once

#include "misc/identity/Cookie.h"

// The identities of events of edit lists, from the library's cookie jar. One thread at a time.

Cookie newEventCookie();

// Writes the jar's count to "cookie.num", so that no later run gives the cookies of this one again, and the
// last of them to the user's settings. False, with a warning in the log, if the count can't be written.
bool keepEventCookies();

// The last cookie of the run that was the last to keep its own; invalid if none has.
Cookie lastKeptEventCookie();
