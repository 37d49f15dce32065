#include "misc/diagnostics/FatalError.h"
#include "misc/notify/DebugValServer.h"
#include "misc/notify/MultiValClient.h"
#include "misc/notify/TextValServer.h"
#include "misc/notify/ValClient.h"
#include "platform/ThreadSupport.h"

#include <algorithm>
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
    void startBatchOp(ValManagerBase<int>*) override { batches += 1; }
    void endBatchOp(ValManagerBase<int>*) override { batches += 10; }

    std::function<void()> then = [] {};
    Ints seen; // below 0 what was about to change
    int batches = 0;
};

// Halves even values and rejects odd ones.
struct Halver : ValManagerBase<int>
{
    const void* detached = nullptr;

    bool validateValue(ValServer<int>*, int* candidate) override
    {
        const bool isEven = *candidate % 2 == 0;
        *candidate /= 2;
        return isEven;
    }
    void detachServer(ValServer<int>* server) override { detached = server; }
};

template <class T>
void mirrorUntilTheServerGoes(const T& value)
{
    auto server = std::make_unique<ValServer<T>>(T());
    Watcher<T> client;
    EXPECT_EQ(client = value, value);
    EXPECT_EQ(client.getServerValue(), T());
    client.registerWith(server.get());
    EXPECT_EQ(client = value, value);
    *server = ValServer<T>(value);
    client.inhibitCount = 1;
    *server = T();
    set_crash_flag(1); // it says when it goes all the same
    server.reset();
    set_crash_flag(0);
    EXPECT_EQ(client.seen, std::vector<T>({value, value}));
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
    const void* const address = server.get();
    server.reset();
    EXPECT_EQ(manager.detached, address);
}

// What it says of the rounds holds for every watcher that writes: the inner round is over before the outer one
// goes on, which carries the older value in its event while the server has the newer one.
TEST(ValClient, thatWritesBackHasItsRoundFirst)
{
    ValServer<int> server(0);
    Watcher<int> before(&server), writer(&server), behind(&server);
    writer.then = [&] { server.getValue() > 3 ? void(writer = 3) : void(); };
    server = 5;
    EXPECT_EQ(before.seen, (Ints{5, 3}));
    EXPECT_EQ(behind.seen, (Ints{3, 3}));
}

// Without a comparison they go round until something stops them.
TEST(ValServer, followsAnotherThatFollowsItUntilOneCompares)
{
    ValServer<int> a(0), b(0);
    Watcher<int> ofA(&a), ofB(&b);
    ofA.then = [&] { b = a; };
    ofB.then = [&] { a == b ? void() : void(a = b); };
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
    client->inhibitCount = 1; // of changes, but not of what comes before
    first->preNotifyValChanged();
    *first = 5;
    client->inhibitCount = 0;
    client->then = [&] { first.reset(); };
    *first = 6;
    EXPECT_EQ(client->getValServer(0), &second);
    client->then = [&] { client->deregisterFrom(&second); };
    second = 7;
    second = 8;
    EXPECT_EQ(client->seen, (Ints{-1, 6, 7}));
    client->then = [&] { client.reset(); };
    third = 9;
    EXPECT_FALSE(client || third.hasClients() || second.hasClients());
}

TEST(MultiValClient, staysWithAManagerThatItsServersHad)
{
    MultiWatcher client;
    Halver manager;
    ValServer<int> first(0), second(0);
    const auto batches = [&]
    {
        client.batches = 0;
        for (const char* const text : {"StartBatch", "Batch", "EndBatch", ""})
            manager.issueNotification(NotifyMsg(text, {}), CallbackInvokerBase::anyType());
        return client.batches;
    };
    for (ValServer<int>* const server : {&first, &second})
    {
        server->setManager(&manager);
        client.registerWith(server);
    }
    EXPECT_TRUE(client.deregisterFrom(&first) && client.deregisterFrom(&second));
    EXPECT_EQ(batches(), 11);
    EXPECT_FALSE(client.deregisterFrom(&second));
    EXPECT_EQ(batches(), 0);
    client.registerWith(&first); // goes first, then the manager
}

// Clients come and go on two threads while two others write; what a client sees last is what was written last.
TEST(ValServer, isWrittenWhileClientsComeAndGo)
{
    ValServer<int> server(0);
    Watcher<int> steady(&server);
    const auto use = [&](int thread)
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
                passing.registerWith(nullptr);
                multi.deregisterFrom(&server);
            }
    };
    test::Crowd(4, use);
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
    const auto use = [&](int thread)
    {
        for (unsigned i = 0; i < 500; ++i)
        {
            if (thread < 2)
                server = Text(10 + i % 50, static_cast<wchar_t>(L'a' + thread));
            else if (thread == 2)
                server.preNotifyValChanged();
            EXPECT_TRUE(isWhole(server.text()));
        }
    };
    test::Crowd(4, use);
    EXPECT_TRUE(std::ranges::all_of(client.seen, isWhole));
    EXPECT_EQ(client.seen.back(), server.text());
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
    const auto sample = [&](int)
    {
        for (int i = 0; i < 300; ++i)
        {
            DebugValServer sampled("depth of queue", i);
            sampled = i + 1;
            EXPECT_GE(manager.samples().size(), 1u);
        }
    };
    test::Crowd(3, sample);
    EXPECT_EQ(manager.changes(), changes + 900);
    EXPECT_TRUE(manager.samples().empty());
}
