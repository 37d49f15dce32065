#include "diagnostics/Support.h"
#include "misc/notify/Notifier.h"
#include "misc/notify/NotifierEx.h"
#include "platform/ThreadSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
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
            inWalk.notify_one();
            // Long enough for one that doesn't wait to be seen.
            for (int i = 0; i < 200; ++i)
            {
                OS().threadMgr().yield();
                EXPECT_FALSE(over);
            }
        };
        const test::Runner ending(
            [&]
            {
                inWalk.wait(false);
                if (atTheEnd)
                    notifier.reset();
                guard.reset();
                over = true;
            });
        notifier->issueNotification({}, 2);
    }
}

TEST_F(NotifierRecorderLog, tellsOfNotifiersEnteredInBothOrdersOnceAndBeforeAnythingHangs)
{
    NotifierRecorder::turn(true);
    std::array<EventNotifier, 3> notifiers;
    const auto enter = [&](std::size_t from, std::size_t to)
    {
        Client client;
        client.act = [&] { notifiers[to].issueNotification({}, 2); };
        const Mw::Ptr<Mw::Guard> guard = client.at(notifiers[from]);
        notifiers[from].issueNotification({}, 2);
    };
    enter(0, 1);
    enter(0, 2);
    // At the same address stands another notifier now.
    std::destroy_at(&notifiers[1]);
    std::construct_at(&notifiers[1]);
    enter(1, 0);
    EXPECT_EQ(said(), "");
    test::Crowd(1, [&](int) { enter(0, 1); });
    enter(1, 0);
    NotifierRecorder::turn(false);
    enter(1, 2);
    enter(2, 1);

    const std::string text = said();
    char both[64];
    std::snprintf(both, sizeof both, "at %p, and ", static_cast<void*>(&notifiers[0]));
    EXPECT_NE(text.find(both), std::string::npos) << text;
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 1) << text;
    const char* const callback = "MethodCallback<(anonymous namespace)::Client";
    EXPECT_NE(text.find(callback, text.find(callback) + 1), std::string::npos) << text;
}
