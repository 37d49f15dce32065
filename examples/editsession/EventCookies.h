#pragma once

#include "misc/identity/Cookie.h"

// A new identity for an event of an edit list, from the library's cookie jar. One thread at a time.
Cookie newEventCookie();
