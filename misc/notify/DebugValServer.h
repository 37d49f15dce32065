#pragma once

#include "libmw/CriticalSection.h"
#include "misc/notify/MultiValClient.h"

#include <vector>

// A number that a module samples about itself while it runs, under a name by which people look at it. The sample
// manager lists it from its first moment to its last. Any thread may write to it.
class MISC_API DebugValServer : public ValServer<int>
{
public:
    explicit DebugValServer(const LightweightString<char>& name, int value = 0);
    ~DebugValServer() override;

    using ValServer<int>::operator=;

    const LightweightString<char>& name() const noexcept { return name_; }

private:
    const LightweightString<char> name_;
};

// All debug values there are, for those who show them. Any thread.
class MISC_API DebugSampleManager : public MultiValClient<int>
{
public:
    struct Sample
    {
        LightweightString<char> name;
        int value;
    };

    // The values as they are now, in order of their construction.
    std::vector<Sample> samples() const;

    // How often values were written to; who shows them looks again when it has changed.
    unsigned changes() const noexcept { return changes_.load(std::memory_order_relaxed); }

    // For servers that are DebugValServers.
    void registerWith(ValServer<int>* server) override;
    bool deregisterFrom(ValServer<int>* server) override;

    // Takes no lock: the server's is held.
    using MultiValClient<int>::valChangedNtfy;
    void valChangedNtfy(ValServer<int>* server) override;

private:
    mutable CriticalSection lock_{"debug samples"};
    std::atomic<unsigned> changes_{0};
};

// The one sample manager; it is there for static objects too.
MISC_API DebugSampleManager& theDebugSampleManager();
