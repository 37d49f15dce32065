#include "misc/notify/TextValServer.h"

#include <mutex>
#include <shared_mutex>

bool TextValServer::updateAndNotify(const Text& newValue)
{
    const CriticalSection::Lock writing(writing_);
    Text candidate(newValue);
    if (!validate(candidate))
        return false;
    {
        const std::unique_lock lock(lock_);
        store(candidate);
    }
    notifyValChanged();
    return true;
}

TextValServer::Text TextValServer::text() const
{
    const std::shared_lock lock(lock_);
    return value;
}
