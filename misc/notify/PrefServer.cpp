#include "misc/notify/PrefServer.h"

PrefServer::PrefServer(const PrefVal& preference) : ValServer<bool>(preference.get()), preference_(preference) {}

bool PrefServer::updateAndNotify(const bool& newValue)
{
    bool candidate = newValue;
    if (!validate(candidate) || !preference_.set(candidate))
        return false;
    store(candidate);
    notifyValChanged();
    return true;
}

void PrefServer::refresh()
{
    const bool stored = preference_.get();
    if (stored == getValue())
        return;
    store(stored);
    notifyValChanged();
}
