#include "misc/notify/CallbackChain.h"

int CallbackChain::execute(const NotifyMsg& msg)
{
    for (const CallbackPtr& callback : callbacks_)
        (*callback)(msg);
    return 0;
}
