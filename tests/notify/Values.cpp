#include "misc/diagnostics/FatalError.h"
#include "misc/notify/DebugValServer.h"
#include "misc/notify/MultiValClient.h"
#include "misc/notify/TextValServer.h"
#include "misc/notify/ValClient.h"
#include "platform/ThreadSupport.h"

#include <algorithm>
#include <atomic>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <vector>

namespace
{

using Text = TextValServer::Text;
using Ints = std::vector<int>;

template <class T>
class Watcher : public ValClient<T>
{
public:
    using ValClient<T>::ValClient;
    using ValClient<T>::operator=;
    using ValClient<T>::inhibitCount;

    std::function<void()> before = [] {}, then = [] {};
    std::vector<T> seen;

    void valPreChangedNtfy() override { before(); }
    void valChangedNtfy() override
    {
        seen.push_back(this->getServerValue());
        then();
    }
};

class MultiWatcher : public MultiValClient<int>
{
public:
    using MultiValClient<int>::inhibitCount;
    using MultiValClient<int>::valChangedNtfy;
    void valChangedNtfy(ValServer<int>* server) override
    {
        seen.push_back(server->getValue());
        then();
    }
    void valPreChangedNtfy(ValServerBase* server) override
    {
        seen.push_back(-static_cast<ValServer<int>*>(server)->getValue());
    }
    void startBatchOp(ValManagerBase<int>* manager) override { batches.push_back(manager); }
    void endBatchOp(ValManagerBase<int>* manager) override { batches.push_back(manager); }

    std::function<void()> then = [] {};
    Ints seen; // below 0 what was about to change
    std::vector<ValManagerBase<int>*> batches;
};

// Halves even values and rejects odd ones.
class Halver : public ValManagerBase<int>
{
public:
    std::vector<ValServer<int>*> detached;

    bool validateValue(ValServer<int>*, int* candidate) override
    {
        const bool isEven = *candidate % 2 == 0;
        *candidate /= 2;
        return isEven;
    }
    void detachServer(ValServer<int>* server) override { detached.push_back(server); }
    void announce(const char* text) { issueNotification(NotifyMsg(text, {}), CallbackInvokerBase::anyType()); }
};

template <class T>
void mirrorUntilTheServerGoes(const T& value)
{
    auto server = std::make_unique<ValServer<T>>(T());
    Watcher<T> client;
    int announced = 0;
    client.before = [&] { ++announced; };
    EXPECT_EQ(client = value, value);
    EXPECT_EQ(client.getServerValue(), T());

    client.registerWith(server.get());
    server->preNotifyValChanged();
    EXPECT_EQ(client = value, value);
    *server = ValServer<T>(value);
    EXPECT_EQ(client.seen, std::vector<T>({value, value}));
    EXPECT_TRUE(ValServer<T>(*server) == *server);

    client.inhibitCount = 1;
    server->preNotifyValChanged();
    *server = T();
    server.reset();
    EXPECT_EQ(announced, 1);
    EXPECT_EQ(client.seen.size(), 2u);
    EXPECT_EQ(client.getValServer(), nullptr);
    EXPECT_EQ(T(client), T());
}

} // namespace

TEST(ValClient, mirrorsEveryTypeUntilItsServerGoes)
{
    const auto mirrorAll = [](const auto&... values) { (mirrorUntilTheServerGoes(values), ...); };
    mirrorAll(true, 1, 1u, 1L, 1UL, 1.0f, 1.0, LightweightString<char>("x"), Text(L"x"), Cookie('V', 7, 0, 5));
}

TEST(ValServer, isHeldBackOrAlteredByItsManager)
{
    Halver manager;
    auto server = std::make_unique<ValServer<int>>(1);
    Watcher<int> client(server.get());
    server->setManager(&manager);
    EXPECT_EQ(&(*server = 7), server.get());
    EXPECT_FALSE(server->updateAndNotify(9));
    EXPECT_EQ(client = 11, 1);
    EXPECT_EQ(client = 8, 4);
    EXPECT_EQ(client.seen, Ints{4});
    EXPECT_EQ(ValServer<int>(*server).getManager(), nullptr);

    ValServer<int>* const address = server.get();
    server.reset();
    EXPECT_EQ(manager.detached, std::vector<ValServer<int>*>{address});
}

TEST(ValServer, stampsItsEventsAndEndsWithADefaultValueThoughTheProgramCrashes)
{
    struct Listener
    {
        NotifierEvent<int> last{};
        Ints values{};
        Mw::Ptr<Mw::Guard> guard{};
        int hear(const NotifierEvent<int>& event)
        {
            last = event;
            values.push_back(event.value);
            if (event.type == NotifyMsgTypeDictionary::destroyType)
                NotifierBase::deregisterNotification(guard);
            return 0;
        }
    } listener;
    const NotifierEvent<int> own{.value = 3};
    set_crash_flag(1);
    {
        ValServer<int> server(5);
        listener.guard = server.registerNotification(Mw::makePtr<BoundCallback<&Listener::hear>>(&listener));
        server = 6;
        server.issueNotification(own, 7);
        EXPECT_EQ(own.type, 7);
        EXPECT_EQ(own.source, &server);
    }
    set_crash_flag(0);
    EXPECT_EQ(listener.last.type, NotifyMsgTypeDictionary::destroyType);
    EXPECT_EQ(listener.last.source, own.source);
    EXPECT_EQ(listener.values, (Ints{6, 3, 0}));
}

// What it says of the rounds holds for every watcher that writes: the inner round is over before the outer one
// goes on, which carries the older value in its event while the server has the newer one.
TEST(ValClient, thatWritesBackHasItsRoundFirst)
{
    ValServer<int> server(0);
    Watcher<int> before(&server), writer(&server), behind(&server);
    writer.then = [&]
    {
        if (server.getValue() > 3)
            writer = 3;
    };
    server = 5;
    EXPECT_EQ(before.seen, (Ints{5, 3}));
    EXPECT_EQ(writer.seen, (Ints{5, 3}));
    EXPECT_EQ(behind.seen, (Ints{3, 3}));
}

// Without a comparison they go round until something stops them.
TEST(ValServer, followsAnotherThatFollowsItUntilOneCompares)
{
    ValServer<int> a(0), b(0);
    Watcher<int> ofA(&a), ofB(&b);
    ofA.then = [&] { b = a; };
    ofB.then = [&]
    {
        if (!(a == b))
            a = b;
    };
    a = 1;
    b = 2;
    EXPECT_EQ(ofA.seen, (Ints{1, 2}));
    EXPECT_EQ(ofB.seen, (Ints{1, 2, 2}));

    ofB.then = [&] { ofB.seen.size() < 100 ? void(a = b) : ofB.registerWith(nullptr); };
    a = 3;
    EXPECT_EQ(ofB.seen.size(), 100u);
}

TEST(ValClient, mayEndItselfOrItsServerInItsOwnCall)
{
    std::unique_ptr<ValServer<Text>> servers[] = {std::make_unique<ValServer<Text>>(),
                                                  std::make_unique<TextValServer>()};
    for (auto& server : servers)
    {
        auto client = std::make_unique<Watcher<Text>>(server.get());
        Watcher<Text> behind(server.get());
        client->then = [&] { client.reset(); };
        Watcher<Text>& dying = *client;
        EXPECT_EQ(dying = L"4", Text());
        EXPECT_EQ(client, nullptr);
        EXPECT_EQ(behind.seen, std::vector<Text>{L"4"});

        behind.then = [&] { server.reset(); };
        EXPECT_EQ(behind = L"5", Text());
        EXPECT_EQ(behind.getValServer(), nullptr);
    }
}

TEST(MultiValClient, hearsOfItsServersUntilItOrTheyGoInItsOwnCall)
{
    auto first = std::make_unique<ValServer<int>>(1);
    ValServer<int> second(2), third(3);
    auto client = std::make_unique<MultiWatcher>();
    for (ValServer<int>* const server : {first.get(), &second, &third, &second})
        client->registerWith(server);
    *first = 4;
    client->inhibitCount = 1; // of changes, but not of what comes before
    for (ValServer<int>* const server : {&second, first.get()})
    {
        server->preNotifyValChanged();
        *server = 5;
    }
    client->inhibitCount = 0;
    client->then = [&] { first.reset(); };
    *first = 6;
    EXPECT_EQ(client->getValServer(0), &second);
    client->then = [&] { client->deregisterFrom(&second); };
    second = 7;
    second = 8;
    EXPECT_EQ(client->seen, (Ints{4, -2, -4, 6, 7}));
    EXPECT_EQ(client->getValServer(0), &third);
    client->then = [&] { client.reset(); };
    third = 9;
    EXPECT_FALSE(client || third.hasClients() || second.hasClients());
}

TEST(MultiValClient, staysWithAManagerThatItsServersHad)
{
    using Managers = std::vector<ValManagerBase<int>*>;
    Halver manager;
    ValServer<int> first(0), second(0);
    MultiWatcher client;
    const auto batches = [&]
    {
        client.batches.clear();
        for (const char* const text : {"StartBatch", "Batch", "EndBatch", ""})
            manager.announce(text);
        return client.batches;
    };
    for (ValServer<int>* const server : {&first, &second})
    {
        server->setManager(&manager);
        client.registerWith(server);
    }
    for (ValServer<int>* const server : {&first, &second})
    {
        EXPECT_TRUE(client.deregisterFrom(server));
        EXPECT_EQ(batches(), (Managers{&manager, &manager}));
    }
    EXPECT_FALSE(client.deregisterFrom(&second));
    EXPECT_EQ(batches(), Managers());

    auto shortLived = std::make_unique<Halver>();
    second.setManager(shortLived.get());
    client.registerWith(&second);
    shortLived->announce("StartBatch");
    EXPECT_EQ(client.batches, Managers{shortLived.get()});
    second.setManager(nullptr);
    shortLived.reset();
}

TEST(LastValServer, isTheOneUnderConstructionOnThisThread)
{
    struct Probe
    {
        LastValServer* last = LastValServer::getLastValServer();
        bool operator==(const Probe&) const = default;
    };
    struct Server : ValServer<Probe>
    {
        using ValServer<Probe>::value;
    };
    const Server server;
    EXPECT_EQ(server.value.last, static_cast<const LastValServer*>(&server));
    EXPECT_EQ(LastValServer::getLastValServer(), nullptr);
}

TEST(DebugValServer, isListedWhileItLives)
{
    DebugSampleManager& manager = theDebugSampleManager();
    const unsigned changes = manager.changes();
    test::Crowd(3,
                [&](int)
                {
                    for (int i = 0; i < 300; ++i)
                    {
                        DebugValServer sampled("depth of queue", i);
                        sampled = i + 1;
                        EXPECT_GE(manager.samples().size(), 1u);
                    }
                });
    EXPECT_EQ(manager.changes(), changes + 900);
    EXPECT_TRUE(manager.samples().empty());
}

// Clients come and go on two threads while two others write; what a client sees last is what was written last.
TEST(ValServer, isWrittenWhileClientsComeAndGo)
{
    ValServer<int> server(0);
    Watcher<int> steady(&server);
    std::atomic<int> inside{0};
    steady.then = [&]
    {
        EXPECT_EQ(++inside, 1) << "callbacks of one notifier run at the same time";
        --inside;
    };
    test::Crowd(4,
                [&](int thread)
                {
                    for (int i = 0; i < 2000; ++i)
                        if (thread < 2)
                            server = i;
                        else
                        {
                            Watcher<int> passing; // called from other threads: registers when it stands
                            passing.registerWith(&server);
                            MultiWatcher multi;
                            multi.registerWith(&server);
                            EXPECT_LT(passing.getServerValue(), 2000);
                            passing.registerWith(nullptr);
                            multi.deregisterFrom(&server);
                        }
                });
    EXPECT_EQ(steady.seen.size(), 4000u);
    EXPECT_EQ(steady.seen.back(), server.getValue());
}

// Each text is of one letter, so that half of another shows. The client that writes when a change is announced once
// met the writers of other threads for ever.
TEST(TextValServer, isWrittenAndReadByThreadsWhileClientsWrite)
{
    const auto isWhole = [](const Text& text) { return text == Text(text.length(), text[0]); };
    TextValServer server;
    server = L"f";
    Watcher<Text> client(&server);
    client.before = [&] { server = Text(20, L'w'); };
    test::Crowd(4,
                [&](int thread)
                {
                    for (unsigned i = 0; i < 500; ++i)
                    {
                        if (thread < 2)
                            server = Text(10 + i % 50, static_cast<wchar_t>(L'a' + thread));
                        else if (thread == 2)
                            server.preNotifyValChanged();
                        EXPECT_TRUE(isWhole(server.text()));
                    }
                });
    EXPECT_TRUE(std::ranges::all_of(client.seen, isWhole));
    EXPECT_EQ(client.seen.back(), server.text());
}
