#pragma once

#include "Mw/LightweightString.h"
#include "Mw/Ptr.h"
#include "OS/Export.h"
#include "misc/base/DLList.h"
#include "misc/notify/NotifyMsgTypeDictionary.h"

#include <atomic>
#include <utility>

class Notifier;

// What a message says. It is shared by the copies of its NotifyMsg, and the last of them deletes it. It can
// be linked into one DLList, and so be buffered by one Notifiable, at a time.
class MISC_API NotifyMsgRep final : public DLListRec
{
public:
    // Has one reference already, its maker's.
    NotifyMsgRep(const LightweightString<char>& text, const Mw::Ptr<iObject>& object) : text_(text), object_(object) {}

    // Both give the new count. Who sees 0 deletes the rep. Any thread.
    int incRef() noexcept { return OS().atomics().increment(&refCount_); }
    int decRef() noexcept { return OS().atomics().decrement(&refCount_); }

    const LightweightString<char>& text() const noexcept { return text_; }
    const Mw::Ptr<iObject>& object() const noexcept { return object_; }

    // The Notifier that issued it last, null before that.
    Notifier* sender() const noexcept { return sender_.load(std::memory_order_relaxed); }
    void setSender(Notifier* sender) noexcept { sender_.store(sender, std::memory_order_relaxed); }

private:
    int refCount_ = 1;
    LightweightString<char> text_;
    std::atomic<Notifier*> sender_{nullptr};
    Mw::Ptr<iObject> object_;
};

// A message: a counted handle to its text and payload, and the type that it was issued with. Copies share
// text, payload and sender.
//
// Threads: copies may be held and released by different threads; one NotifyMsg is not to be assigned while
// another thread uses it.
class MISC_API NotifyMsg
{
public:
    // Says nothing; its rep is null.
    NotifyMsg() noexcept = default;
    explicit NotifyMsg(const Mw::Ptr<iObject>& object);
    NotifyMsg(const LightweightString<char>& text, const Mw::Ptr<iObject>& object);

    NotifyMsg(const NotifyMsg& other) noexcept : rep_(other.rep_), type_(other.type())
    {
        if (rep_ != nullptr)
            rep_->incRef();
    }
    NotifyMsg(NotifyMsg&& other) noexcept : rep_(std::exchange(other.rep_, nullptr)), type_(other.type()) {}
    ~NotifyMsg() { release(rep_); }

    // The new text is held before the old one is let go.
    NotifyMsg& operator=(const NotifyMsg& other) noexcept
    {
        if (other.rep_ != nullptr)
            other.rep_->incRef();
        setType(other.type());
        release(std::exchange(rep_, other.rep_));
        return *this;
    }
    NotifyMsg& operator=(NotifyMsg&& other) noexcept
    {
        setType(other.type());
        if (this != &other)
            release(std::exchange(rep_, std::exchange(other.rep_, nullptr)));
        return *this;
    }

    NotifyMsgRep* rep() const noexcept { return rep_; }

    // The text, empty for none; null without a rep.
    operator const char*() const noexcept { return rep_ != nullptr ? rep_->text().c_str() : nullptr; }

    // What the rep holds, null without one.
    Mw::Ptr<iObject> object() const noexcept { return rep_ != nullptr ? rep_->object() : Mw::Ptr<iObject>(); }
    Notifier* sender() const noexcept { return rep_ != nullptr ? rep_->sender() : nullptr; }

    // The wildcard's until a Notifier issues it, which writes the type into the caller's own message.
    int type() const noexcept { return type_.load(std::memory_order_relaxed); }
    void setType(int type) const noexcept { type_.store(type, std::memory_order_relaxed); }

private:
    static void release(NotifyMsgRep* rep) noexcept
    {
        if (rep != nullptr && rep->decRef() == 0)
            delete rep;
    }

    NotifyMsgRep* rep_ = nullptr;
    // Two threads may issue one message at once.
    mutable std::atomic<int> type_{NotifyMsgTypeDictionary::anyType};
};
