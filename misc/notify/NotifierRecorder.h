#pragma once

#include "OS/Export.h"

#include <atomic>
#include <typeinfo>

class NotifierBase;

// Finds deadlocks between notifiers before they happen. A notifier holds its lock while it calls its
// clients, so two notifiers whose clients call into each other can stop two threads for good. While the
// recorder is on, it remembers in which order notifiers are entered (to issue, register or release), and as
// soon as two have ever been entered in both orders, by whatever threads and however far apart in time, it
// logs, before the second one is entered, the pair with the classes of the callbacks that did it.
//
// Off at first. While it is off, a notifier pays one relaxed load and a branch. Any thread.
class MISC_API NotifierRecorder
{
public:
    static bool isOn() noexcept { return (turn_.load(std::memory_order_relaxed) & 1) != 0; }

    // Turning it off forgets what was seen. What a thread is inside of when it is turned on isn't looked at.
    static void turn(bool on);

    // A stay of the calling thread in a notifier.
    class MISC_API Entry
    {
    public:
        // Looks at the orders that this makes, and logs what it finds. To be made before the lock is entered.
        explicit Entry(const NotifierBase& notifier);
        ~Entry();
        Entry(const Entry&) = delete;
        Entry& operator=(const Entry&) = delete;

        // Which callback runs from now on.
        void calls(const std::type_info& callback) noexcept { callback_ = &callback; }

    private:
        friend class NotifierRecorder;

        bool isInside(const NotifierBase& notifier) const noexcept;
        void enteredFrom(const Entry& held) const;

        const NotifierBase* notifier_; // null once it is destroyed in the same turn
        const unsigned turn_;
        const std::type_info* callback_ = nullptr;
        Entry* const outer_;
    };

    // For the destructor of a notifier: its address may become that of another.
    static void forget(const NotifierBase* notifier);

private:
    // How often it was turned on or off: odd while it is on.
    static std::atomic<unsigned> turn_;
};
