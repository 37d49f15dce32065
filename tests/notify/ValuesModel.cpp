// Servers, clients and multi-clients against a model of a few lines: clients and servers come and go, in calls too.

#include "misc/notify/MultiValClient.h"
#include "misc/notify/ValClient.h"

#include <algorithm>
#include <array>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace
{

constexpr int serverCount = 3;
constexpr int mirrorCount = 5; // clients from there on are multi-clients
constexpr int clientCount = 8;

struct Op
{
    enum Kind
    {
        Write,
        PreTell,
        Attach,
        Detach,
        Inhibit,
        EndClient,
        EndServer
    };
    Kind kind;
    int server;
    int client;
    int number;
};

// What both worlds do alike: keep a log, and do what is planned for a client in its next call.
class World
{
public:
    virtual ~World() = default;

    std::map<int, Op> plan;
    std::vector<std::string> log;

    void perform(const Op& op)
    {
        switch (op.kind)
        {
        case Op::Write:
            return tell(op.server, [&] { write(op.server, op.number); });
        case Op::PreTell:
            return tell(op.server, [&] { preTell(op.server); });
        // Who comes during a walk is called or not by the rules of notifiers, which have a model of their own.
        case Op::Attach:
            return isTelling_[op.server] == 0 ? attach(op.client, op.server) : void();
        case Op::Detach:
            return detach(op.client, op.server);
        case Op::Inhibit:
            return inhibit(op.client, op.number % 2);
        case Op::EndClient:
            return endClient(op.client);
        case Op::EndServer:
            return endServer(op.server);
        }
    }

    void called(int client, const char* what, std::size_t server, int value)
    {
        log.push_back(std::to_string(client) + what + std::to_string(server) + "=" + std::to_string(value));
        if (const auto planned = plan.find(client); planned != plan.end())
        {
            const Op op = planned->second;
            plan.erase(planned);
            perform(op);
        }
    }

    // The servers that a client has, in its order, and their values.
    virtual std::string state(int client) const = 0;

protected:
    virtual void write(int server, int value) = 0;
    virtual void preTell(int server) = 0;
    virtual void attach(int client, int server) = 0;
    virtual void detach(int client, int server) = 0;
    virtual void inhibit(int client, int count) = 0;
    virtual void endClient(int client) = 0;
    virtual void endServer(int server) = 0;

private:
    template <class Tell>
    void tell(int server, Tell tell)
    {
        ++isTelling_[server];
        tell();
        --isTelling_[server];
    }

    std::array<int, serverCount> isTelling_{};
};

using Server = ValServer<int>;

// A client of either kind.
struct Tested
{
    virtual ~Tested() = default;
    virtual void attach(Server* server) = 0;
    virtual void detach(Server* server) = 0;
    virtual void inhibit(int count) = 0;
    virtual const ValServerBase* serverAt(int index) const = 0;
};

class RealWorld : public World
{
public:
    std::string state(int client) const override
    {
        std::string text;
        for (int i = 0; const ValServerBase* const server = clients_[client]->serverAt(i); ++i)
            text += std::to_string(indexOf(server)) + "=" + std::to_string(servers_[indexOf(server)]->getValue()) + " ";
        return text;
    }

private:
    struct Mirror : Tested, ValClient<int>
    {
        Mirror(RealWorld& world, int id) : world(world), id(id) {}
        void attach(Server* server) override { registerWith(server); }
        void detach(Server* server) override { getValServer() == server ? registerWith(nullptr) : void(); }
        void inhibit(int count) override { inhibitCount = count; }
        const ValServerBase* serverAt(int index) const override { return index == 0 ? getValServer() : nullptr; }
        void valChangedNtfy() override { world.called(id, " changed ", world.indexOf(getValServer()), *this); }
        void valPreChangedNtfy() override { world.called(id, " before ", world.indexOf(getValServer()), *this); }
        RealWorld& world;
        const int id;
    };

    struct Multi : Tested, MultiValClient<int>
    {
        Multi(RealWorld& world, int id) : world(world), id(id) {}
        void attach(Server* server) override { registerWith(server); }
        void detach(Server* server) override { deregisterFrom(server); }
        void inhibit(int count) override { inhibitCount = count; }
        const ValServerBase* serverAt(int index) const override { return getValServer(index); }
        using MultiValClient<int>::valChangedNtfy;
        void valChangedNtfy(Server* server) override { called(" changed ", server); }
        void valPreChangedNtfy(ValServerBase* server) override { called(" before ", server); }
        void called(const char* what, ValServerBase* server)
        {
            world.called(id, what, world.indexOf(server), static_cast<Server*>(server)->getValue());
        }
        RealWorld& world;
        const int id;
    };

    void write(int server, int value) override { *servers_[server] = value; }
    void preTell(int server) override { servers_[server]->preNotifyValChanged(); }
    void attach(int client, int server) override { clients_[client]->attach(servers_[server].get()); }
    void detach(int client, int server) override { clients_[client]->detach(servers_[server].get()); }
    void inhibit(int client, int count) override { clients_[client]->inhibit(count); }
    void endClient(int client) override { std::exchange(clients_[client], made(client)).reset(); }
    void endServer(int server) override { std::exchange(servers_[server], std::make_unique<Server>(0)).reset(); }

    std::size_t indexOf(const ValServerBase* server) const
    {
        const auto isIt = [&](const auto& held) { return held.get() == server; };
        return static_cast<std::size_t>(std::find_if(servers_.begin(), servers_.end(), isIt) - servers_.begin());
    }
    std::unique_ptr<Tested> made(int client)
    {
        if (client < mirrorCount)
            return std::make_unique<Mirror>(*this, client);
        return std::make_unique<Multi>(*this, client);
    }

    std::array<std::unique_ptr<Server>, serverCount> servers_;
    std::array<std::unique_ptr<Tested>, clientCount> clients_;

public:
    RealWorld()
    {
        for (auto& server : servers_)
            server = std::make_unique<Server>(0);
        for (int client = 0; client < clientCount; ++client)
            clients_[client] = made(client);
    }
};

class ModelWorld : public World
{
public:
    std::string state(int client) const override
    {
        std::string text;
        for (const int server : clients_[client].servers)
            text += std::to_string(server) + "=" + std::to_string(servers_[server].value) + " ";
        return text;
    }

private:
    using Registration = std::pair<int, int>; // a client, and a number for each time that one came
    struct Followed
    {
        int value = 0;
        int life = 0;
        std::vector<Registration> clients;
    };
    struct Client
    {
        int inhibited = 0;
        std::vector<int> servers;
    };

    void write(int server, int value) override
    {
        servers_[server].value = value;
        walk(server, " changed ");
    }
    void preTell(int server) override { walk(server, " before "); }
    // A walk within a call begins with the client that is called; the order then is what it was.
    void walk(int server, const std::string& what)
    {
        const int life = servers_[server].life;
        const std::vector<Registration> round = servers_[server].clients;
        for (const Registration& entry : round)
        {
            if (servers_[server].life != life)
                return;
            if (!turnTo(server, entry))
                continue;
            const bool minds = entry.first < mirrorCount || what == " changed ";
            if (clients_[entry.first].inhibited <= 0 || !minds)
                called(entry.first, what.c_str(), static_cast<std::size_t>(server), servers_[server].value);
        }
        if (servers_[server].life == life)
            static_cast<void>(std::find_if(round.begin(), round.end(), [&](auto& e) { return turnTo(server, e); }));
    }
    bool turnTo(int server, const Registration& entry)
    {
        auto& clients = servers_[server].clients;
        const auto found = std::find(clients.begin(), clients.end(), entry);
        if (found == clients.end())
            return false;
        std::rotate(clients.begin(), found, clients.end());
        return true;
    }
    void attach(int client, int server) override
    {
        auto& has = clients_[client].servers;
        if (std::find(has.begin(), has.end(), server) != has.end())
            return;
        if (client < mirrorCount && !has.empty())
            detach(client, has[0]);
        has.push_back(server);
        servers_[server].clients.emplace_back(client, ++arrivals_);
    }
    void detach(int client, int server) override
    {
        std::erase(clients_[client].servers, server);
        std::erase_if(servers_[server].clients, [&](const auto& entry) { return entry.first == client; });
    }
    void inhibit(int client, int count) override { clients_[client].inhibited = count; }
    void endClient(int client) override
    {
        for (int server = 0; server < serverCount; ++server)
            detach(client, server);
        clients_[client] = {};
    }
    void endServer(int server) override
    {
        for (int client = 0; client < clientCount; ++client)
            detach(client, server);
        servers_[server] = {0, servers_[server].life + 1, {}};
    }

    std::array<Followed, serverCount> servers_;
    std::array<Client, clientCount> clients_;
    int arrivals_ = 0;
};

} // namespace

TEST(Values, doAsTheirModelWhoeverGoesInACall)
{
    const unsigned seed = std::random_device()();
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    const auto below = [&](int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); };
    const auto drawn = [&](int kinds) {
        return Op{Op::Kind(below(kinds)), below(serverCount), below(clientCount), below(1000)};
    };

    RealWorld real;
    ModelWorld model;
    for (int step = 0; step < 100000 && !HasFailure(); ++step)
    {
        std::map<int, Op> plan;
        while (below(2) == 0)
            plan.insert({below(clientCount), drawn(Op::EndServer + 1)});
        // Ends are rare, so that there are clients to call.
        const Op op = drawn(below(20) == 0 ? Op::EndServer + 1 : Op::Inhibit + 1);
        for (World* const world : {static_cast<World*>(&real), static_cast<World*>(&model)})
        {
            world->log.clear();
            world->plan = plan;
            world->perform(op);
        }
        ASSERT_EQ(real.log, model.log) << "step " << step;
        for (int client = 0; client < clientCount; ++client)
            ASSERT_EQ(real.state(client), model.state(client)) << "step " << step << ", client " << client;
    }
}
