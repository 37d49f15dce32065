#pragma once

#include "misc/notify/ValServer.h"

// The notice that the licence has changed: the layer that knows the licence writes a text for people to it, and
// who depends on the licence follows it. It is empty at first, and there for static objects too.
MISC_API ValServer<LightweightString<wchar_t>>& getLicenseChangeServer();
