#include "misc/notify/NotifyMsgTypeDictionary.h"

#include "Mw/Assert.h"
#include "OS/Immortal.h"

NotifyMsgTypeDictionary::NotifyMsgTypeDictionary()
{
    internOwn();
}

NotifyMsgTypeDictionary& NotifyMsgTypeDictionary::instance()
{
    struct EmptiedAtExit
    {
        NotifyMsgTypeDictionary& dictionary = immortal<NotifyMsgTypeDictionary>();

        ~EmptiedAtExit()
        {
            dictionary.ids_.clear();
            dictionary.internOwn();
        }
    };
    static EmptiedAtExit holder;
    return holder.dictionary;
}

void NotifyMsgTypeDictionary::internOwn()
{
    MW_ASSERT(intern("*") == anyType);
    MW_ASSERT(intern("destroy!") == destroyType);
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
