#include "diagnostics/Support.h"
#include "misc/notify/Notifier.h"
#include "misc/notify/NotifierEx.h"
#include "platform/ThreadSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <memory>
#include <string>

namespace
{

using Event = NotifierEvent<int>;
using EventNotifier = GenericNotifier<Event>;

// Calls a function when it is told.
struct Client
{
    std::function<void()> act = [] {};

    int take(const Event&) { return act(), 0; }
    Mw::Ptr<Mw::Guard> at(EventNotifier& notifier)
    {
        return notifier.registerNotification(Mw::makePtr<MethodCallback<Client, Event>>(this, &Client::take));
    }
};

using NotifierRecorderLog = Diagnostics;

} // namespace

TEST(NotifierThreads, aGuardAndTheNotifiersEndWaitForAWalkOnAnotherThread)
{
    for (const bool atTheEnd : {false, true})
    {
        auto notifier = std::make_unique<NotifierEx<int>>();
        Client walking, leaving;
        std::atomic<bool> inWalk{false}, over{false};
        Mw::Ptr<Mw::Guard> guard = atTheEnd ? Mw::Ptr<Mw::Guard>() : leaving.at(*notifier);
        Mw::Ptr<Mw::Guard> walkingGuard = walking.at(*notifier);
        walking.act = [&]
        {
            // The walk goes on in a list that is empty.
            if (atTheEnd)
                walkingGuard.reset();
            inWalk = true;
            // Long enough for one that doesn't wait to be seen.
            for (int i = 0; i < 200; ++i)
            {
                OS().threadMgr().yield();
                EXPECT_FALSE(over);
            }
        };
        const auto end = [&]
        {
            while (!inWalk)
                OS().threadMgr().yield();
            if (atTheEnd)
                notifier.reset();
            guard.reset();
            over = true;
        };
        const test::Runner ending(end);
        notifier->issueNotification({}, 2);
    }
}

TEST_F(NotifierRecorderLog, tellsOfNotifiersEnteredInBothOrdersOnceAndBeforeAnythingHangs)
{
    NotifierRecorder::turn(true);
    EventNotifier first, second;
    const auto enter = [](EventNotifier& from, EventNotifier& to)
    {
        Client client;
        client.act = [&to] { to.issueNotification({}, 2); };
        const Mw::Ptr<Mw::Guard> guard = client.at(from);
        from.issueNotification({}, 2);
    };
    enter(first, second);
    EXPECT_EQ(said(), "");
    test::Crowd(1, [&](int) { enter(second, first); });
    enter(first, second);
    NotifierRecorder::turn(false);

    const std::string text = said();
    char both[64];
    std::snprintf(both, sizeof both, "at %p, and ", static_cast<void*>(&second));
    EXPECT_NE(text.find(both), std::string::npos) << text;
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 1) << text;
    const char* const callback = "MethodCallback<(anonymous namespace)::Client";
    EXPECT_NE(text.find(callback, text.find(callback) + 1), std::string::npos) << text;
}
