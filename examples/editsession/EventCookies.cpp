#include "examples/editsession/EventCookies.h"

Cookie EventCookies::next()
{
    if (last_ + 1 >= static_cast<int>(Cookie::numberLimit))
        return Cookie();
    return Cookie(eventType, ++last_, 0, sessionMachine);
}
