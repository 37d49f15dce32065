#include "misc/notify/TextValServer.h"

#include <mutex>
#include <shared_mutex>

bool TextValServer::updateAndNotify(const Text& newValue)
{
    Text candidate(newValue);
    if (!validate(candidate))
        return false;
    inLock(
        [&]
        {
            const std::unique_lock writing(readers_);
            value.swap(candidate);
        });
    notifyValChanged();
    return true;
}

TextValServer::Text TextValServer::text() const
{
    const std::shared_lock reading(readers_);
    return value;
}
