#include "misc/notify/CallbackChain.h"

#include <array>

int CallbackChain::execute(const NotifyMsg& msg)
{
    // A callback may end the registration, and with it this chain.
    const std::array<CallbackPtr, 2> called{callbacks_[0], callbacks_[1]};
    for (const CallbackPtr& callback : called)
        (*callback)(msg);
    return 0;
}
