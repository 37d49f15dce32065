#include "misc/notify/NotifyMsgTypeDictionary.h"

#include "Mw/Assert.h"
#include "OS/Immortal.h"

NotifyMsgTypeDictionary::NotifyMsgTypeDictionary()
{
    MW_ASSERT(intern("*") == anyType);
    MW_ASSERT(intern("destroy!") == destroyType);
}

NotifyMsgTypeDictionary& NotifyMsgTypeDictionary::instance()
{
    return immortal<NotifyMsgTypeDictionary>();
}

int NotifyMsgTypeDictionary::intern(const LightweightString<char>& name)
{
    return ids_.try_emplace(name, static_cast<int>(ids_.size())).first->second;
}

LightweightString<char> NotifyMsgTypeDictionary::msgTypeName(int id) const
{
    for (const auto& [name, nameId] : ids_)
        if (nameId == id)
            return name;
    return {};
}
