#include "OS/testing/TestDesktop.h"

TestDesktop::~TestDesktop() = default;

Mw::Ptr<MemorySettings> TestDesktop::settings(const Wide& fileName, eSettingsOwner owner)
{
    const std::lock_guard lock(mutex_);
    Mw::Ptr<MemorySettings>& store = stores_[{owner, fileName}];
    if (!store)
        store = Mw::makePtr<MemorySettings>();
    return store;
}
