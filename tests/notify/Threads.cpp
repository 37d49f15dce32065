#include "misc/diagnostics/Log.h"
#include "misc/notify/Notifier.h"
#include "misc/notify/NotifierEx.h"
#include "platform/ThreadSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>

namespace
{

using Event = NotifierEvent<int>;
using EventNotifier = GenericNotifier<Event>;

// Calls a function when it is told, until it is poisoned.
struct Client
{
    std::function<void()> act;
    std::atomic<bool> isThere{true};

    ~Client() { isThere = false; }
    int take(const Event&)
    {
        EXPECT_TRUE(isThere);
        if (act)
            act();
        return 0;
    }
    Mw::Ptr<Mw::Guard> at(EventNotifier& notifier)
    {
        return notifier.registerNotification(Mw::makePtr<MethodCallback<Client, Event>>(this, &Client::take));
    }
};

} // namespace

TEST(NotifierThreads, clientsComeAndGoWhileOthersIssue)
{
    EventNotifier notifier;
    std::atomic<int> inside{0};
    const test::Crowd crowd(4,
                            [&](int number)
                            {
                                for (int round = 0; round < 2000; ++round)
                                {
                                    Client client;
                                    client.act = [&]
                                    {
                                        EXPECT_EQ(++inside, 1) << "callbacks of one notifier run at the same time";
                                        --inside;
                                    };
                                    const Mw::Ptr<Mw::Guard> guard = client.at(notifier);
                                    if ((round + number) % 2 == 0)
                                        notifier.issueNotification({0, nullptr, round}, 2);
                                }
                            });
}

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

TEST(NotifierRecorder, logsNotifiersEnteredInBothOrdersOnceAndBeforeAnythingHangs)
{
    std::FILE* const log = std::tmpfile();
    SetLogOutput(log);
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
    EXPECT_EQ(std::ftell(log), 0);
    {
        const test::Runner other([&] { enter(0, 1); });
    }
    enter(1, 0);
    // One that another takes the place of while the recorder is off was entered by nobody.
    Client client;
    Mw::Ptr<Mw::Guard> guard = client.at(notifiers[1]);
    client.act = [&]
    {
        guard.reset();
        NotifierRecorder::turn(false);
        std::destroy_at(&notifiers[1]);
        std::construct_at(&notifiers[1]);
        NotifierRecorder::turn(true);
        notifiers[0].issueNotification({}, 2);
    };
    notifiers[1].issueNotification({}, 2);
    enter(0, 1);
    NotifierRecorder::turn(false);
    enter(1, 0);
    SetLogOutput(nullptr);

    std::string text(static_cast<std::size_t>(std::ftell(log)), ' ');
    std::rewind(log);
    text.resize(std::fread(text.data(), 1, text.size(), log));
    std::fclose(log);
    char both[64];
    std::snprintf(both, sizeof both, "at %p, and ", static_cast<void*>(&notifiers[0]));
    EXPECT_NE(text.find(both), std::string::npos) << text;
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 1) << text;
    const std::size_t callback = text.find("MethodCallback<(anonymous namespace)::Client");
    EXPECT_NE(text.find("MethodCallback<(anonymous namespace)::Client", callback + 1), std::string::npos) << text;
}
