#pragma once

#include "OS/testing/ForwardingDesktop.h"
#include "OS/testing/MemorySettings.h"

#include <map>
#include <mutex>
#include <string>

// A desktop whose settings are in memory; the rest goes to the service that was in place. With it in
// place nothing reaches the settings of whoever runs the test. Any thread.
//
//     TestDesktop desktop;
//     OSReplacement<iDesktop> replaced(desktop);
class OS_API TestDesktop : public ForwardingDesktop
{
public:
    ~TestDesktop() override;

    // The store that openSettings gives for this name; owners have stores of their own.
    Mw::Ptr<MemorySettings> settings(const Wide& fileName, eSettingsOwner owner);

    Mw::Ptr<iSettings> openSettings(const Wide& fileName, eSettingsOwner owner) override
    {
        return settings(fileName, owner);
    }

private:
    std::mutex mutex_;
    std::map<std::pair<eSettingsOwner, Wide>, Mw::Ptr<MemorySettings>> stores_;
};
