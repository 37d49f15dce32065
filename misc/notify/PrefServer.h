#pragma once

#include "misc/notify/ValServer.h"
#include "misc/settings/PrefVal.h"

// A preference that tells its clients when it is written. There is one server for a preference in a process, with
// the module that owns the preference. It notices what is written through it, not what another process stores.
class MISC_API PrefServer : public ValServer<bool>
{
public:
    // Begins with the stored value.
    explicit PrefServer(const PrefVal& preference);

    using ValServer<bool>::operator=;

    // Stores the preference, then does as every server. False, and nobody is told, if a manager rejects it or
    // it can't be stored.
    bool updateAndNotify(const bool& newValue) override;

private:
    const PrefVal preference_;
};
