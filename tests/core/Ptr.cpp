#include "Mw/Ptr.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
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
    explicit Node(int* deaths = nullptr) : deaths_(deaths) {}
    ~Node() override
    {
        if (deaths_ != nullptr)
            ++*deaths_;
        if (atDeath_)
            atDeath_();
    }

    int* deaths_;
    std::function<void()> atDeath_;
};

struct Stranger : virtual iObject
{
};

} // namespace

TEST(Ptr, countRunsFromZeroToZeroThroughCopiesAndMoves)
{
    int deaths = 0;
    {
        Node* const raw = new Node(&deaths);
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
}

// The count field of a null Ptr points nowhere: whoever touched it would crash.
TEST(Ptr, nullIsCopiedAssignedConvertedAndCastWithoutACount)
{
    Mw::Ptr<Node> null;
    Mw::Ptr<Node> copy(null);
    copy = null;
    copy.incRef();
    copy.decRef();
    const Mw::Ptr<iObject> converted = copy;
    EXPECT_FALSE(converted);
    EXPECT_FALSE(Mw::dynamicCast<Node>(converted));
    EXPECT_EQ(copy.useCount(), 0);
}

TEST(Ptr, destructorThatReachesBackSeesTheNewValue)
{
    int deaths = 0;
    auto holder = Mw::makePtr<Node>(&deaths);
    const auto next = Mw::makePtr<Node>();
    bool sawNext = false;
    holder->atDeath_ = [&] { sawNext = holder == next && next.useCount() == 2; };
    holder = next;
    EXPECT_TRUE(sawNext);

    // The same for a holder that is emptied, and for one that its object's death assigns once more.
    auto other = Mw::makePtr<Node>(&deaths);
    other->atDeath_ = [&] { other = next; };
    other.reset();
    EXPECT_EQ(other, next);
    EXPECT_EQ(deaths, 2);
}

TEST(Ptr, interfacesOfOneObjectShareOneCount)
{
    const auto node = Mw::makePtr<Node>();
    Mw::Ptr<iLeft> left = node;
    Mw::Ptr<iRight> right = Mw::dynamicCast<iRight>(left);
    Mw::Ptr<const iObject> object = right;
    EXPECT_EQ(node.useCount(), 4);
    EXPECT_EQ(Mw::dynamicCast<Node>(right), node);
    EXPECT_EQ(node.useCount(), 4);
    EXPECT_FALSE(Mw::dynamicCast<Stranger>(std::move(left)));
    object = std::move(left);
    EXPECT_EQ(node.useCount(), 3);
    EXPECT_EQ(Mw::dynamicCast<Node>(std::move(right)), node);
    EXPECT_FALSE(right);
    EXPECT_EQ(node.useCount(), 2);
}

namespace
{

std::vector<std::string> released;

// The external traits, with a record of what is let go.
struct RecordedCount : Mw::ExternalRefCountTraits
{
    static void releaseCount(int* count) noexcept
    {
        released.emplace_back("count");
        Mw::ExternalRefCountTraits::releaseCount(count);
    }
};
struct Plain
{
    ~Plain() { released.emplace_back("object"); }
};

} // namespace

TEST(Ptr, externalCountIsFreedBeforeTheObject)
{
    released.clear();
    {
        const Mw::Ptr<Plain, Mw::DtorTraits, RecordedCount> only(new Plain);
        const auto second = only;
        EXPECT_EQ(second.useCount(), 2);
    }
    EXPECT_EQ(released, (std::vector<std::string>{"count", "object"}));
}

// Each thread copies, casts and drops its own handles; the object dies once, after all of them.
TEST(Ptr, threadsShareOneObject)
{
    int deaths = 0;
    for (int round = 0; round < 20; ++round)
    {
        std::vector<std::thread> threads;
        {
            const auto node = Mw::makePtr<Node>(&deaths);
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
        for (auto& thread : threads)
            thread.join();
        threads.clear();
        EXPECT_EQ(deaths, round + 1);
    }
}
