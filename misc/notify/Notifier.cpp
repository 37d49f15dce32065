#include "misc/notify/Notifier.h"

#include "misc/diagnostics/FatalError.h"

template class GenericNotifier<NotifyMsg>;

Notifier::~Notifier()
{
    if (get_crash_flag() == 0 && hasClientsLocked())
        Notifier::issueNotification(NotifyMsg("die", {}), NotifyMsgTypeDictionary::destroyType);
}

void Notifier::issueNotification(const NotifyMsg& msg, int type) const
{
    if (NotifyMsgRep* const rep = msg.rep())
        rep->setSender(const_cast<Notifier*>(this));
    msg.setType(type);
    issueMade([&msg]() -> const NotifyMsg& { return msg; }, type);
}
