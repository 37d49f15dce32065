// The list of clients against a model, while clients come and go, issue, throw and destroy the notifier in
// their own calls.

#include "misc/notify/Notifier.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <deque>
#include <iostream>
#include <map>
#include <memory>
#include <random>
#include <vector>

namespace
{

using Ids = std::vector<int>;

constexpr int anyType = NotifyMsgTypeDictionary::anyType;
constexpr int destroyType = NotifyMsgTypeDictionary::destroyType;

// What was told of who is called: each walk has a queue of those still to come and a list of those it came to,
// which after a walk is the list of clients.
class Model
{
public:
    void begin() { walks_.push_back({circle()}); }
    void end()
    {
        clients_ = circle();
        std::rotate(clients_.begin(), clients_.end() - std::ssize(walks_.back().passed), clients_.end());
        walks_.pop_back();
    }

    // The next client that the innermost walk comes to, 0 for none.
    int next()
    {
        Walk& walk = walks_.back();
        ++walk.calls;
        if (walk.current != 0)
            walk.passed.push_back(walk.current);
        walk.current = walk.toCome.empty() ? 0 : walk.toCome.front();
        std::erase(walk.toCome, walk.current);
        return walk.current;
    }

    void remove(int id)
    {
        std::erase(clients_, id);
        for (Walk& walk : walks_)
        {
            std::erase(walk.toCome, id);
            std::erase(walk.passed, id);
            walk.current = walk.current == id ? 0 : walk.current;
        }
    }

    void append(int id)
    {
        if (walks_.empty())
            return clients_.push_back(id);
        const Ids seen = circle();
        const int head = seen.empty() ? 0 : seen.front();
        bool isNextOutside = false;
        for (auto walk = walks_.rbegin(); walk != walks_.rend(); ++walk)
            isNextOutside = walk->insert(id, head, isNextOutside);
    }

    Ids circle() const { return walks_.empty() ? clients_ : walks_.back().circle(); }

private:
    struct Walk
    {
        Ids toCome;
        Ids passed{};
        int current = 0;
        int calls = 0;

        Ids circle() const
        {
            Ids all(current != 0 ? 1 : 0, current);
            all.insert(all.end(), toCome.begin(), toCome.end());
            all.insert(all.end(), passed.begin(), passed.end());
            return all;
        }

        // Directly before the head, which is where the innermost walk stands, or next, where the walk within ends
        // at the new client. True if this walk began there, and the walk around it goes on with the new client.
        bool insert(int id, int head, bool isNext)
        {
            const Ids all = circle();
            const bool isAtBeginning = passed.empty();
            if (isNext)
                toCome.insert(toCome.begin(), id);
            else if (all.empty() || all.front() == head)
                (isAtBeginning && calls == 1 ? toCome : passed).push_back(id);
            else if (const auto at = std::find(toCome.begin(), toCome.end(), head); at != toCome.end())
                toCome.insert(at, id);
            else if (passed.front() == head)
                toCome.push_back(id);
            else
                passed.insert(std::find(passed.begin(), passed.end(), head), id);
            return isAtBeginning && (isNext || !passed.empty());
        }
    };

    Ids clients_;
    std::vector<Walk> walks_;
};

struct Thrown
{
};

// A notifier whose clients do something at random in each call, with the model beside it.
class Play
{
public:
    explicit Play(unsigned seed) : random_(seed) {}
    ~Play() { destroy(); }

    long steps() const { return steps_; }

    // One round from outside.
    void round()
    {
        if (notifier_ == nullptr)
            notifier_ = std::make_unique<Notifier>();
        while (guards_.size() < 1 + random_() % 8)
            add();
        issue();
        if (random_() % 4 == 0)
            removeAny();
    }

private:
    struct Client
    {
        Play* play;
        int id;
        int type; // that it asks for

        bool isFor(int other) const { return type == anyType || other == anyType || type == other; }
        int take(const NotifyMsg& msg)
        {
            play->called(*this, msg.type());
            return 0;
        }
    };

    Client& client(int id) { return clients_[static_cast<std::size_t>(id) - 1]; }

    void add()
    {
        const int type = random_() % 3 == 0 ? 2 + static_cast<int>(random_() % 2) : anyType;
        Client& added = clients_.emplace_back(Client{this, static_cast<int>(clients_.size()) + 1, type});
        guards_[added.id] = notifier_->registerNotification(
            Mw::makePtr<MethodCallback<Client, NotifyMsg>>(&added, &Client::take), type);
        model_.append(added.id);
    }

    void remove(int id)
    {
        model_.remove(id);
        const auto released = guards_.extract(id);
    }

    void removeAny()
    {
        if (!guards_.empty())
            remove(std::next(guards_.begin(), static_cast<long>(random_() % guards_.size()))->first);
    }

    // Everybody who is left is for other types.
    void expectEnd(int type)
    {
        while (const int id = model_.next())
            ASSERT_FALSE(client(id).isFor(type)) << "client " << id << " was left out";
        model_.end();
    }

    void issue()
    {
        const int type = std::array{anyType, 2, 3}[random_() % 3];
        const int life = life_;
        bool isThrown = false;
        model_.begin();
        ++depth_;
        try
        {
            notifier_->issueNotification(NotifyMsg("step", {}), type);
        }
        catch (const Thrown&)
        {
            isThrown = true;
        }
        --depth_;
        if (life == life_)
            isThrown ? model_.end() : expectEnd(type);
        if (isThrown && depth_ != 0 && random_() % 2 == 0)
            throw Thrown();
    }

    void destroy()
    {
        for (const Client& each : clients_)
            if (each.type != anyType && guards_.count(each.id) != 0)
                remove(each.id); // it would not be told
        ++life_;
        model_.begin();
        notifier_.reset();
        expectEnd(destroyType);
        EXPECT_TRUE(guards_.empty());
        model_ = Model();
    }

    void called(const Client& who, int type)
    {
        ++steps_;
        int expected = model_.next();
        while (expected != 0 && !client(expected).isFor(type))
            expected = model_.next();
        ASSERT_EQ(who.id, expected);
        if (type == destroyType)
            return remove(who.id);
        const int life = life_;
        for (auto acts = random_() % 3; acts != 0 && life == life_; --acts)
            act(who.id);
    }

    void act(int id)
    {
        const auto drawn = random_() % 256;
        if (drawn < 32)
            add();
        else if (drawn < 48 && guards_.count(id) != 0)
            remove(id);
        else if (drawn < 80)
            removeAny();
        else if (drawn < 112 && depth_ < 4)
            issue();
        else if (drawn < 116)
            throw Thrown();
        else if (drawn == 116)
            destroy();
    }

    std::mt19937 random_;
    Model model_;
    std::unique_ptr<Notifier> notifier_;
    std::deque<Client> clients_;
    std::map<int, Mw::Ptr<Mw::Guard>> guards_;
    int life_ = 0;
    int depth_ = 0;
    long steps_ = 0;
};

} // namespace

TEST(ClientList, behavesAsToldWhateverItsClientsDo)
{
    const unsigned firstSeed = std::random_device()();
    std::cout << "first seed " << firstSeed << std::endl;
    unsigned seed = firstSeed;
    for (long steps = 0; steps < 1'000'000 && !HasFailure(); ++seed)
    {
        SCOPED_TRACE(seed);
        Play play(seed);
        for (int round = 0; round < 2000 && !HasFailure(); ++round)
            play.round();
        steps += play.steps();
    }
}
