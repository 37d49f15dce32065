#pragma once

#include "misc/notify/ValServer.h"
#include "misc/settings/PrefVal.h"

// A preference that tells its clients when it changes. There is one server for a preference in a process, with the
// module that owns the preference. It knows of what is written through it; of what else was stored, by another
// process say, it learns by refresh.
class MISC_API PrefServer : public ValServer<bool>
{
public:
    // Begins with the stored value.
    explicit PrefServer(const PrefVal& preference);

    using ValServer<bool>::operator=;

    // Stores the preference, then does as every server. False, and nobody is told, if a manager rejects it or
    // it can't be stored.
    bool updateAndNotify(const bool& newValue) override;

    // Takes the stored value, and tells the clients if it is another one.
    void refresh();

private:
    const PrefVal preference_;
};
