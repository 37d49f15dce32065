// Servers, clients and multi-clients in step with a model that knows, of each walk in progress, who is to be called
// next. Clients and servers come and go, in calls too. Who comes during a walk is called by the rules of notifiers,
// which have a model of their own: here they come between walks.

#include "misc/notify/MultiValClient.h"
#include "misc/notify/ValClient.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <iostream>
#include <map>
#include <memory>
#include <random>
#include <vector>

namespace
{

using Server = ValServer<int>;

constexpr int serverCount = 3;
constexpr int mirrorCount = 5; // clients from there on are multi-clients
constexpr int clientCount = 8;

enum Kind
{
    Changed,
    Before
};

// A client of either kind.
struct Tested
{
    virtual ~Tested() = default;
    virtual void attach(Server* server) = 0;
    virtual void detach(Server* server) = 0;
    virtual void inhibit(int count) = 0;
    virtual const ValServerBase* serverAt(int index) const = 0;
};

class Session
{
public:
    struct Op
    {
        enum What
        {
            Write,
            Announce,
            Attach,
            Detach,
            Inhibit,
            EndClient,
            EndServer
        } what;
        int server;
        int client;
        int number;
    };

    // What clients do in their next call.
    std::map<int, Op> plan;

    Session()
    {
        for (int client = 0; client < clientCount; ++client)
            real_.clients[client] = made(client);
        for (auto& server : real_.servers)
            server = std::make_unique<Server>(0);
    }

    void perform(const Op& op)
    {
        auto& server = real_.servers[op.server];
        auto& client = real_.clients[op.client];
        auto& inhibited = model_.inhibited[op.client];
        switch (op.what)
        {
        case Op::Write:
            model_.values[op.server] = op.number;
            return walk(op.server, Changed, [&] { *server = op.number; });
        case Op::Announce:
            return walk(op.server, Before, [&] { server->preNotifyValChanged(); });
        case Op::Attach:
            if (walks_.empty())
            {
                attach(op.client, op.server);
                client->attach(server.get());
            }
            return;
        case Op::Detach:
            detach(op.client, op.server);
            return client->detach(server.get());
        case Op::Inhibit:
            return client->inhibit(inhibited = op.number % 2);
        case Op::EndClient:
            inhibited = 0;
            for (int s = 0; s < serverCount; ++s)
                detach(op.client, s);
            return std::exchange(client, made(op.client)).reset();
        case Op::EndServer:
            model_.values[op.server] = 0;
            for (int c = 0; c < clientCount; ++c)
                detach(c, op.server);
            return std::exchange(server, std::make_unique<Server>(0)).reset();
        }
    }

    // What each client follows is what the model says, in its order.
    void compare()
    {
        for (int client = 0; client < clientCount; ++client)
            for (int i = 0; i <= serverCount; ++i)
            {
                const auto& followed = model_.followed[client];
                const bool isThere = i < static_cast<int>(followed.size());
                EXPECT_EQ(real_.clients[client]->serverAt(i),
                          isThere ? real_.servers[followed[static_cast<std::size_t>(i)]].get() : nullptr);
            }
    }

private:
    using Registration = std::pair<int, int>; // a client, and a number for each time that one came
    struct Walk
    {
        int server;
        Kind kind;
        std::vector<Registration> left;
    };

    struct Mirror : Tested, ValClient<int>
    {
        Mirror(Session& session, int id) : session(session), id(id) {}
        void attach(Server* server) override { registerWith(server); }
        void detach(Server* server) override { getValServer() == server ? registerWith(nullptr) : void(); }
        void inhibit(int count) override { inhibitCount = count; }
        const ValServerBase* serverAt(int index) const override { return index == 0 ? getValServer() : nullptr; }
        void valChangedNtfy() override { session.called(id, Changed, getValServer(), *this); }
        void valPreChangedNtfy() override { session.called(id, Before, getValServer(), *this); }
        Session& session;
        const int id;
    };

    struct Multi : Tested, MultiValClient<int>
    {
        Multi(Session& session, int id) : session(session), id(id) {}
        void attach(Server* server) override { registerWith(server); }
        void detach(Server* server) override { deregisterFrom(server); }
        void inhibit(int count) override { inhibitCount = count; }
        const ValServerBase* serverAt(int index) const override { return getValServer(index); }
        using MultiValClient<int>::valChangedNtfy;
        void valChangedNtfy(Server* server) override { session.called(id, Changed, server, server->getValue()); }
        void valPreChangedNtfy(ValServerBase* server) override
        {
            session.called(id, Before, server, static_cast<Server*>(server)->getValue());
        }
        Session& session;
        const int id;
    };

    std::unique_ptr<Tested> made(int client)
    {
        if (client < mirrorCount)
            return std::make_unique<Mirror>(*this, client);
        return std::make_unique<Multi>(*this, client);
    }

    template <class Tell>
    void walk(int server, Kind kind, Tell tell)
    {
        const std::vector<Registration> round = model_.clients[server];
        walks_.push_back({server, kind, round});
        tell();
        EXPECT_EQ(nextToCall(), -1);
        walks_.pop_back();
        // The order is what it was, less those that went.
        std::any_of(round.begin(), round.end(), [&](const Registration& r) { return turnTo(server, r); });
    }

    void called(int client, Kind kind, const ValServerBase* server, int value)
    {
        ASSERT_FALSE(walks_.empty());
        const Walk& walk = walks_.back();
        EXPECT_EQ(kind, walk.kind);
        EXPECT_EQ(server, real_.servers[walk.server].get());
        EXPECT_EQ(value, model_.values[walk.server]);
        EXPECT_EQ(nextToCall(), client);
        if (const auto planned = plan.extract(client))
            perform(planned.mapped());
    }

    // Takes who comes next from the innermost walk; a walk within his call begins with him. -1 for nobody.
    int nextToCall()
    {
        Walk& walk = walks_.back();
        while (!walk.left.empty())
        {
            const Registration next = walk.left.front();
            walk.left.erase(walk.left.begin());
            const bool isDeaf = model_.inhibited[next.first] > 0 && (next.first < mirrorCount || walk.kind == Changed);
            if (turnTo(walk.server, next) && !isDeaf)
                return next.first;
        }
        return -1;
    }

    bool turnTo(int server, const Registration& registration)
    {
        auto& clients = model_.clients[server];
        const auto found = std::find(clients.begin(), clients.end(), registration);
        if (found == clients.end())
            return false;
        std::rotate(clients.begin(), found, clients.end());
        return true;
    }

    void attach(int client, int server)
    {
        auto& followed = model_.followed[client];
        if (std::find(followed.begin(), followed.end(), server) != followed.end())
            return;
        if (client < mirrorCount && !followed.empty())
            detach(client, followed[0]);
        followed.push_back(server);
        model_.clients[server].emplace_back(client, ++arrivals_);
    }

    void detach(int client, int server)
    {
        std::erase(model_.followed[client], server);
        std::erase_if(model_.clients[server], [&](const Registration& r) { return r.first == client; });
    }

    struct
    {
        std::unique_ptr<Server> servers[serverCount];
        std::unique_ptr<Tested> clients[clientCount];
    } real_;
    struct
    {
        int values[serverCount] = {};
        int inhibited[clientCount] = {};
        std::vector<Registration> clients[serverCount];
        std::vector<int> followed[clientCount];
    } model_;
    std::vector<Walk> walks_;
    int arrivals_ = 0;
};

} // namespace

TEST(Values, doAsTheirModelWhoeverGoesInACall)
{
    const unsigned seed = std::random_device()();
    std::cout << "seed " << seed << std::endl;
    std::mt19937 random(seed);
    const auto below = [&](int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); };
    const auto drawn = [&](int kinds) {
        return Session::Op{Session::Op::What(below(kinds)), below(serverCount), below(clientCount), below(1000)};
    };
    constexpr int allOps = Session::Op::EndServer + 1;

    Session session;
    for (int step = 0; step < 100000 && !HasFailure(); ++step)
    {
        SCOPED_TRACE(step);
        session.plan.clear();
        while (below(2) == 0)
            session.plan.insert({below(clientCount), drawn(allOps)});
        // Ends are rare, so that there are clients to call.
        session.perform(drawn(below(20) == 0 ? allOps : allOps - 2));
        session.compare();
    }
}
