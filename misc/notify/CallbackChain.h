#pragma once

#include "Mw/Callback.h"
#include "misc/notify/NotifyMsg.h"

#include <vector>

// Two callbacks that are called as one, in order. Their results are ignored. Both are called, even if the first one
// ends the registration of the chain.
class MISC_API CallbackChain final : public iCallbackBase<int, NotifyMsg>
{
public:
    using CallbackPtr = Mw::Ptr<iCallbackBase<int, NotifyMsg>>;

    CallbackChain(const CallbackPtr& first, const CallbackPtr& second) : callbacks_{first, second} {}

    // Gives 0.
    int execute(const NotifyMsg& msg) override;

private:
    std::vector<CallbackPtr> callbacks_;
};
