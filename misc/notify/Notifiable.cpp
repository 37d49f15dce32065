#include "misc/notify/Notifiable.h"

#include "misc/notify/NotifyMsg.h"

int NotifiableBase::notify(const NotifyMsg&)
{
    return 0;
}

int NotifiableBase::destroy(const NotifyMsg&)
{
    return 0;
}

int NotifiableBase::bufNotify(const NotifyMsg&)
{
    return 0;
}

Notifiable::~Notifiable()
{
    while (DLListRec* const record = buffered_.head())
    {
        auto* const rep = static_cast<NotifyMsgRep*>(record);
        buffered_.extract(rep);
        if (rep->decRef() == 0)
            delete rep;
    }
}

int Notifiable::bufNotify(const NotifyMsg& msg)
{
    if (NotifyMsgRep* const rep = msg.rep(); rep != nullptr && buffered_.append(rep))
        rep->incRef();
    return 0;
}
