#include "misc/notify/DebugValServer.h"

#include "OS/Immortal.h"

DebugValServer::DebugValServer(const LightweightString<char>& name, int value) : ValServer<int>(value), name_(name)
{
    theDebugSampleManager().registerWith(this);
}

DebugValServer::~DebugValServer()
{
    theDebugSampleManager().deregisterFrom(this);
}

std::vector<DebugSampleManager::Sample> DebugSampleManager::samples() const
{
    const CriticalSection::Lock lock(lock_);
    std::vector<Sample> samples;
    for (int i = 0; const ValServerBase* const server = getValServer(i); ++i)
    {
        const auto* const sampled = static_cast<const DebugValServer*>(server);
        samples.push_back({sampled->name(), sampled->getValue()});
    }
    return samples;
}

void DebugSampleManager::registerWith(ValServer<int>* server)
{
    const CriticalSection::Lock lock(lock_);
    MultiValClient<int>::registerWith(server);
}

bool DebugSampleManager::deregisterFrom(ValServer<int>* server)
{
    const CriticalSection::Lock lock(lock_);
    return MultiValClient<int>::deregisterFrom(server);
}

void DebugSampleManager::valChangedNtfy(ValServer<int>*)
{
    changes_.fetch_add(1, std::memory_order_relaxed);
}

DebugSampleManager& theDebugSampleManager()
{
    return immortal<DebugSampleManager>();
}
