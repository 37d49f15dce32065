#include "misc/diagnostics/FatalError.h"
#include "misc/notify/DebugValServer.h"
#include "misc/notify/LicenseChange.h"
#include "misc/notify/MultiValClient.h"
#include "misc/notify/TextValServer.h"
#include "misc/notify/ValClient.h"
#include "platform/ThreadSupport.h"

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

    std::function<void()> then = [] {};
    std::vector<T> seen;

    void valChangedNtfy() override
    {
        seen.push_back(this->getServerValue());
        then();
    }
};

class MultiWatcher : public MultiValClient<int>
{
public:
    using MultiValClient<int>::valChangedNtfy;
    void valChangedNtfy(ValServer<int>*) override {}
    void startBatchOp(ValManagerBase<int>* manager) override { batches.push_back(manager); }
    void endBatchOp(ValManagerBase<int>* manager) override { batches.push_back(manager); }

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
class ValueOf : public testing::Test
{
};
using Types = testing::Types<bool, int, unsigned, long, unsigned long, float, double, LightweightString<char>,
                             LightweightString<wchar_t>, Cookie>;

template <class T>
T some()
{
    if constexpr (std::is_arithmetic_v<T>)
        return T(1);
    else if constexpr (std::is_same_v<T, Cookie>)
        return Cookie('V', 7, 0, 5);
    else
        return T(3, 'x');
}

} // namespace

TYPED_TEST_SUITE(ValueOf, Types);

TYPED_TEST(ValueOf, isMirroredUntilItsServerGoes)
{
    const TypeParam value = some<TypeParam>();
    auto server = std::make_unique<ValServer<TypeParam>>(TypeParam());
    Watcher<TypeParam> client;
    EXPECT_EQ(client = value, value);
    EXPECT_EQ(client.getServerValue(), TypeParam());

    client.registerWith(server.get());
    EXPECT_EQ(client = value, value);
    *server = ValServer<TypeParam>(value);
    EXPECT_EQ(client.seen, std::vector<TypeParam>({value, value}));
    EXPECT_TRUE(ValServer<TypeParam>(*server) == *server);

    client.inhibitCount = 1;
    *server = TypeParam();
    server.reset();
    EXPECT_EQ(client.seen.size(), 2u);
    EXPECT_EQ(client.getValServer(), nullptr);
    EXPECT_EQ(TypeParam(client), TypeParam());
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
        std::vector<NotifierEvent<int>> heard;
        Mw::Ptr<Mw::Guard> guard;
        int hear(const NotifierEvent<int>& event)
        {
            heard.push_back(event);
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
        server.preNotifyValChanged();
        server.issueNotification(own, ValServerBase::valChangedMsgType_);
        EXPECT_EQ(own.source, &server);
    }
    set_crash_flag(0);
    const int types[] = {ValServerBase::preValChangedMsgType_, own.type, NotifyMsgTypeDictionary::destroyType};
    const int values[] = {5, 3, 0};
    ASSERT_EQ(listener.heard.size(), std::size(types));
    for (std::size_t i = 0; i < std::size(types); ++i)
    {
        EXPECT_EQ(listener.heard[i].type, types[i]);
        EXPECT_EQ(listener.heard[i].value, values[i]);
        EXPECT_EQ(listener.heard[i].source, own.source);
    }
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
        if (ofB.seen.size() > 100 || !(a == b))
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

TEST(MultiValClient, staysWithAManagerThatItsServersHad)
{
    Halver manager;
    ValServer<int> first(0), second(0);
    MultiWatcher client;
    for (ValServer<int>* const server : {&first, &second, &first})
    {
        server->setManager(&manager);
        client.registerWith(server);
    }
    client.registerWith(nullptr);
    EXPECT_EQ(client.getValServer(2), nullptr);
    EXPECT_EQ(client.getValServer(-1), nullptr);

    const auto batches = [&]
    {
        client.batches.clear();
        for (const char* const text : {"StartBatch", "Batch", "EndBatch", ""})
            manager.announce(text);
        return client.batches;
    };
    const std::vector<ValManagerBase<int>*> once{&manager, &manager};
    for (ValServer<int>* const server : {&first, &second})
    {
        EXPECT_EQ(batches(), once);
        EXPECT_TRUE(client.deregisterFrom(server));
    }
    EXPECT_EQ(batches(), once);
    EXPECT_FALSE(client.deregisterFrom(&second));
    EXPECT_EQ(batches().size(), 0u);

    client.registerWith(&first);
    {
        Halver shortLived;
        second.setManager(&shortLived);
        client.registerWith(&second);
        shortLived.announce("StartBatch");
        second.setManager(nullptr);
    }
    EXPECT_EQ(client.batches.size(), 1u);
    EXPECT_EQ(batches(), once);
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
    const unsigned changes = theDebugSampleManager().changes();
    {
        test::Crowd crowd(3,
                          [](int)
                          {
                              for (int i = 0; i < 300; ++i)
                              {
                                  DebugValServer sampled("depth of queue", i);
                                  sampled = i + 1;
                                  EXPECT_GE(theDebugSampleManager().samples().size(), 1u);
                              }
                          });
    }
    EXPECT_EQ(theDebugSampleManager().changes(), changes + 900);
    EXPECT_EQ(theDebugSampleManager().samples().size(), 0u);
    EXPECT_TRUE(getLicenseChangeServer().getValue().empty());
}

// Clients come and go on two threads while two others write; what a client sees last is what was written last.
TEST(ValServer, isWrittenWhileClientsComeAndGo)
{
    ValServer<int> server(0);
    Watcher<int> steady(&server);
    {
        const test::Crowd crowd(4,
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
    }
    EXPECT_EQ(steady.seen.size(), 4000u);
    EXPECT_EQ(steady.seen.back(), server.getValue());
}

// Each text is of one letter, so that half of another shows. The client that writes when a change is announced once
// met the writers of other threads for ever.
TEST(TextValServer, isWrittenAndReadByThreadsWhileClientsWrite)
{
    struct Listener
    {
        TextValServer& server;
        Text last{};
        int hear(const NotifierEvent<Text>& event)
        {
            expectWhole(last = event.value);
            if (event.type == ValServerBase::preValChangedMsgType_)
                server = Text(20, L'w');
            return 0;
        }
        static void expectWhole(const Text& text)
        {
            for (unsigned i = 1; i < text.length(); ++i)
                EXPECT_EQ(text[i], text[0]);
        }
    };
    TextValServer server;
    Listener listener{server};
    const Mw::Ptr<Mw::Guard> guard =
        server.registerNotification(Mw::makePtr<BoundCallback<&Listener::hear>>(&listener));
    {
        const test::Crowd crowd(4,
                                [&](int thread)
                                {
                                    for (unsigned i = 0; i < 500; ++i)
                                    {
                                        if (thread < 2)
                                            server = Text(10 + i % 50, static_cast<wchar_t>(L'a' + thread));
                                        else if (thread == 2)
                                            server.preNotifyValChanged();
                                        Listener::expectWhole(server.text());
                                    }
                                });
    }
    EXPECT_EQ(listener.last, server.text());
}
