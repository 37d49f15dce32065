#pragma once

#include "misc/identity/Cookie.h"

// Names the events of one session: classic cookies, numbered from 1. One thread at a time.
class EventCookies
{
public:
    // The invalid cookie once all 1,679,615 numbers are used up.
    Cookie next();

private:
    // E is a letter whose use the library leaves to its applications, and one that Cookie::isValid lets
    // through, so that the text can serve as a key: here it stands for an event.
    static constexpr CookieType eventType = 'E';

    // The library doesn't hand out numbers yet, so the session counts for a machine number of its own.
    static constexpr int sessionMachine = 1;

    int last_ = 0;
};
