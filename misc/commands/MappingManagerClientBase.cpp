#include "misc/commands/MappingManagerClientBase.h"

#include "misc/commands/MappingManager.h"

MappingManagerClientBase::MappingManagerClientBase(const UIString& displayName, const UIString& displayDescription)
    : displayName_(displayName), displayDescription_(displayDescription)
{
}

MappingManagerClientBase::~MappingManagerClientBase()
{
    // A class that has not taken itself out can no longer be asked for its name.
    if (registered_)
        MappingManager::globalMappingManager().forget(this);
}

void MappingManagerClientBase::registerWithManager()
{
    if (!registered_)
        registered_ = MappingManager::globalMappingManager().registerMapper(this);
}

void MappingManagerClientBase::unregisterWithManager()
{
    if (registered_)
        MappingManager::globalMappingManager().unregisterMapper(this);
    registered_ = false;
}
