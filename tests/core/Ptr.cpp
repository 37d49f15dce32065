#include "Mw/Ptr.h"

#include <gtest/gtest.h>

#include <functional>
#include <thread>
#include <vector>

namespace
{

struct iLeft : virtual iObject
{
};
struct iRight : virtual iObject
{
};

// Reached through two interfaces, with one count; says when it dies.
struct Node : iLeft, iRight
{
    explicit Node(std::function<void()> atDeath = [] {}) : atDeath_(std::move(atDeath)) {}
    ~Node() override { atDeath_(); }

    std::function<void()> atDeath_;
};

} // namespace

TEST(Ptr, countRunsFromZeroToZeroThroughCopiesAndMoves)
{
    int deaths = 0;
    {
        Node* const raw = new Node([&] { ++deaths; });
        Mw::Ptr<Node> first(raw);
        EXPECT_EQ(first.useCount(), 1);
        Mw::Ptr<Node> second = first;
        Mw::Ptr<Node> adoptedAgain(raw);
        EXPECT_EQ(first.useCount(), 3);
        const Mw::Ptr<Node> moved = std::move(second);
        EXPECT_TRUE(second == nullptr);
        EXPECT_EQ(moved.useCount(), 3);
        adoptedAgain.reset();
        first = nullptr;
        EXPECT_EQ(moved.useCount(), 1);
        auto& self = first = moved;
        first = self;
        first = std::move(self);
        EXPECT_EQ(first.useCount(), 2);
        EXPECT_EQ(deaths, 0);
    }
    EXPECT_EQ(deaths, 1);

    // The count field of a null one points nowhere: whoever touched it would crash.
    Mw::Ptr<Node> null, copy(null);
    copy = null;
    copy.incRef();
    copy.decRef();
    const Mw::Ptr<iObject> converted = copy;
    EXPECT_FALSE(converted || Mw::dynamicCast<Node>(converted) || copy.useCount() != 0);
}

TEST(Ptr, destructorThatReachesBackSeesTheNewValue)
{
    bool sawNext = false;
    const auto next = Mw::makePtr<Node>();
    Mw::Ptr<Node> holder = Mw::makePtr<Node>([&] { sawNext = holder == next && next.useCount() == 2; });
    holder = next;
    EXPECT_TRUE(sawNext);

    // One that is emptied, and that its object's death assigns once more.
    Mw::Ptr<Node> other = Mw::makePtr<Node>([&] { other = next; });
    other.reset();
    EXPECT_EQ(other, next);
}

TEST(Ptr, interfacesOfOneObjectShareOneCount)
{
    struct Stranger : virtual iObject
    {
    };
    const auto node = Mw::makePtr<Node>();
    Mw::Ptr<iLeft> left = node;
    Mw::Ptr<iRight> right = Mw::dynamicCast<iRight>(left);
    Mw::Ptr<const iObject> object = right;
    EXPECT_EQ(node.useCount(), 4);
    EXPECT_FALSE(Mw::dynamicCast<Stranger>(std::move(left)));
    object = std::move(left);
    EXPECT_EQ(node.useCount(), 3);
    EXPECT_EQ(Mw::dynamicCast<Node>(std::move(right)), node);
    EXPECT_FALSE(right);
    EXPECT_EQ(node.useCount(), 2);
}

// Each thread copies, casts and drops its own handles; the object dies once, after all of them.
TEST(Ptr, threadsShareOneObject)
{
    int deaths = 0;
    for (int round = 0; round < 20; ++round)
    {
        std::vector<std::jthread> threads;
        const auto node = Mw::makePtr<Node>([&] { ++deaths; });
        for (int i = 0; i < 4; ++i)
            threads.emplace_back(
                [mine = Mw::Ptr<iLeft>(node)]() mutable
                {
                    for (int n = 0; n < 500; ++n)
                    {
                        const Mw::Ptr<iRight> other = Mw::dynamicCast<iRight>(mine);
                        mine = Mw::dynamicCast<iLeft>(other);
                    }
                });
    }
    EXPECT_EQ(deaths, 20);
}
