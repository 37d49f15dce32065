#include "misc/notify/Notifier.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <iostream>
#include <memory>
#include <random>
#include <vector>

namespace
{

using Ids = std::vector<int>;

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
    std::size_t depth() const { return walks_.size(); }

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

// A notifier whose clients do something at random in each call, with the model beside it.
class Play
{
public:
    explicit Play(unsigned seed) : random_(seed) {}
    ~Play() { destroy(); }

    // One round from outside.
    void round()
    {
        if (notifier_ == nullptr)
            notifier_ = std::make_unique<Notifier>();
        while (model_.circle().size() < 1 + random_() % 8)
            add();
        issue();
        if (random_() % 4 == 0)
            removeAny();
    }

    long steps = 0;

private:
    struct Client
    {
        Play* play;
        int id;
        Mw::Ptr<Mw::Guard> guard{};

        int take(const NotifyMsg& msg) { return play->called(*this, msg.type()), 0; }
    };

    void add()
    {
        Client& added = clients_.emplace_back(Client{this, static_cast<int>(clients_.size()) + 1});
        added.guard = notifier_->registerNotification(Mw::makePtr<BoundCallback<&Client::take>>(&added));
        model_.append(added.id);
    }

    void remove(int id)
    {
        model_.remove(id);
        clients_[static_cast<std::size_t>(id) - 1].guard.reset();
    }

    void removeAny()
    {
        if (const Ids all = model_.circle(); !all.empty())
            remove(all[random_() % all.size()]);
    }

    void issue()
    {
        const int life = life_;
        model_.begin();
        try
        {
            notifier_->issueNotification(NotifyMsg("step", {}), NotifyMsgTypeDictionary::anyType);
            EXPECT_EQ(life == life_ ? model_.next() : 0, 0) << "was left out";
        }
        catch (int)
        {
        }
        if (life == life_)
            model_.end();
    }

    void destroy()
    {
        ++life_;
        model_.begin();
        notifier_.reset();
        EXPECT_EQ(model_.circle(), Ids()) << "were not told";
        model_ = Model();
    }

    void called(const Client& who, int type)
    {
        ++steps;
        ASSERT_EQ(who.id, model_.next());
        if (type == NotifyMsgTypeDictionary::destroyType)
            return remove(who.id);
        const int life = life_;
        for (auto acts = random_() % 3; acts != 0 && life == life_; --acts)
            act(who);
    }

    void act(const Client& who)
    {
        const auto drawn = random_() % 256;
        if (drawn < 32)
            add();
        else if (drawn < 48 && who.guard)
            remove(who.id);
        else if (drawn < 80)
            removeAny();
        else if (drawn < 112 && model_.depth() < 4)
            issue();
        else if (drawn < 116)
            throw 0;
        else if (drawn == 116)
            destroy();
    }

    std::mt19937 random_;
    Model model_;
    std::unique_ptr<Notifier> notifier_;
    std::deque<Client> clients_;
    int life_ = 0;
};

} // namespace

TEST(ClientList, behavesAsToldWhateverItsClientsDo)
{
    unsigned seed = std::random_device()();
    std::cout << "first seed " << seed << std::endl;
    for (long steps = 0; steps < 1'000'000 && !HasFailure(); ++seed)
    {
        SCOPED_TRACE(seed);
        Play play(seed);
        for (int round = 0; round < 2000 && !HasFailure(); ++round)
            play.round();
        steps += play.steps;
    }
}
