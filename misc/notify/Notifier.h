#pragma once

#include "misc/notify/GenericNotifier.h"
#include "misc/notify/NotifyMsg.h"

extern template class GenericNotifier<NotifyMsg>;

// Publishes NotifyMsgs, stamped with their sender, and announces its own end: its last message has the type
// "destroy!" and the text "die", and clients drop their guards on it. Threads as NotifierBase has them.
class MISC_API Notifier : public GenericNotifier<NotifyMsg>
{
public:
    Notifier() noexcept = default;

    // Issues the last message if there are clients, unless the program is crashing.
    ~Notifier() override;

    // As GenericNotifier; before that, writes sender and type into the caller's message.
    void issueNotification(const NotifyMsg& msg, int type) const override;
};

// A notifier that hands out who notifies for it, which here is itself.
class MISC_API NotifyWithDisable : public Notifier
{
public:
    virtual Notifier* getNotify() { return this; }
};
