#pragma once

#include "OS/Export.h"
#include "misc/base/DLList.h"

class NotifyMsg;

// The older interface of clients. Here all three do nothing and give 0.
class MISC_API NotifiableBase
{
public:
    virtual ~NotifiableBase() = default;

    virtual int notify(const NotifyMsg& msg);
    virtual int destroy(const NotifyMsg& msg);
    virtual int bufNotify(const NotifyMsg& msg);
};

// A client that can keep messages for later. One thread at a time.
class MISC_API Notifiable : public NotifiableBase
{
public:
    Notifiable() noexcept = default;
    Notifiable(const Notifiable&) = delete;
    Notifiable& operator=(const Notifiable&) = delete;
    // Lets go of what is kept.
    ~Notifiable() override;

    // Keeps what the message says, behind what is kept already. A message without a rep, or whose rep is kept
    // already, here or elsewhere, is ignored. Gives 0.
    int bufNotify(const NotifyMsg& msg) override;

protected:
    // NotifyMsgReps. Who takes one out takes over a reference.
    DLList& buffered() noexcept { return buffered_; }

private:
    DLList buffered_;
};
