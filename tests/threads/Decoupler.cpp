#include "misc/threads/Decoupler.h"

#include "misc/diagnostics/Log.h"

#include <algorithm>
#include <functional>
#include <gtest/gtest.h>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

using namespace MwDC;

namespace
{

// All commands of these tests write into a log.
struct LogCtx
{
    std::string log;
};

template <class Safety>
struct Forms
{
    using Cmd = MwDC::Cmd<LogCtx, Safety>;
    using Smpl = SmplCmd<LogCtx, NoTag, Safety>;
    using Null = NullCommand<LogCtx, Safety>;
    using Comp = CompCmd<LogCtx, Safety>;

    // Calls a function.
    class Caller : public Receiver<Smpl>
    {
    public:
        Caller(std::function<bool(Smpl&, LogCtx&)> function) : function_(std::move(function)) {}
        bool execute(Smpl& cmd, LogCtx& ctx) override { return function_(cmd, ctx); }

    private:
        std::function<bool(Smpl&, LogCtx&)> function_;
    };

    // Writes a character and succeeds if it is a small letter.
    class Letter : public Caller
    {
    public:
        explicit Letter(char c) : Caller([c](Smpl&, LogCtx& ctx) { return ctx.log += c, c >= 'a'; }) {}
    };
};

template <class Safety>
class Command : public testing::Test, protected Forms<Safety>
{
};
using Safeties = testing::Types<ThreadSafetyTraits::ThreadSafe, ThreadSafetyTraits::NoLocking>;
TYPED_TEST_SUITE(Command, Safeties);

} // namespace

TYPED_TEST(Command, nullOneStaysOneAsAPlainHandle)
{
    using F = Forms<TypeParam>;
    LogCtx ctx;
    typename F::Cmd kept = typename F::Null();
    EXPECT_TRUE(kept.isNullCommand() && kept.isValid());
    EXPECT_TRUE(kept.execute(ctx));
    EXPECT_TRUE(kept == typename F::Null());
    typename F::Letter letter('a');
    kept = typename F::Smpl(letter);
    EXPECT_FALSE(kept.isNullCommand());
    EXPECT_TRUE(kept.execute(ctx));
    EXPECT_EQ(ctx.log, "a");
    EXPECT_FALSE(typename F::Cmd().isValid());
}

TYPED_TEST(Command, livesThroughItsRunAndMayRunInsideOfItself)
{
    using F = Forms<TypeParam>;
    typename F::Cmd outside;
    int depth = 0;
    typename F::Caller caller(
        [&](typename F::Smpl& self, LogCtx& ctx)
        {
            ctx.log += '<';
            outside = {};
            const bool result = ++depth == 3 || self.execute(ctx);
            ctx.log += '>';
            return result;
        });
    LogCtx ctx;
    outside = typename F::Smpl(caller);
    const auto* const rep = outside.getRep();
    EXPECT_TRUE(outside.execute(ctx));
    EXPECT_EQ(ctx.log, "<<<>>>");
    EXPECT_EQ(typename F::Smpl(caller).getRep(), rep) << "was given back to the pool by the end of the run";
}

TYPED_TEST(Command, compoundRunsItsChildrenInOrder)
{
    using F = Forms<TypeParam>;
    typename F::Letter a('a'), fail('X'), b('b');
    typename F::Comp compound;
    const auto run = [&]
    {
        LogCtx ctx;
        const bool result = compound.execute(ctx);
        return ctx.log + (result ? '+' : '-');
    };
    EXPECT_EQ(run(), "+");
    compound.addChild(typename F::Smpl(a));
    const auto failing = compound.addChild(typename F::Smpl(fail));
    compound.addChild(typename F::Smpl(b));
    EXPECT_EQ(run(), "aXb-");
    compound.setStopOnFailure(true);
    EXPECT_EQ(run(), "aX-");
    EXPECT_TRUE(compound.removeChild(failing));
    EXPECT_FALSE(compound.removeChild(failing));
    EXPECT_EQ(run(), "ab+");
    EXPECT_TRUE(typename F::Comp(true).rep().flag());
}

// Children that remove themselves and those before and behind them, add others, drop the compound, or throw.
TYPED_TEST(Command, compoundLetsItsChildrenChangeIt)
{
    using F = Forms<TypeParam>;
    typename F::Letter a('a'), b('b'), c('c'), d('d');
    typename F::Comp compound;
    typename F::Cmd outside = compound;
    std::vector<unsigned long> keys;
    bool throwing = false;
    typename F::Caller changer(
        [&](typename F::Smpl&, LogCtx& ctx)
        {
            ctx.log += '!';
            for (const auto key : keys)
                compound.removeChild(key);
            compound.addChild(typename F::Smpl(d));
            outside = {};
            if (throwing)
                throw std::runtime_error("no");
            return true;
        });
    const auto key = compound.addChild(typename F::Smpl(a));
    const auto own = compound.addChild(typename F::Smpl(changer));
    keys = {key, own, compound.addChild(typename F::Smpl(b))};
    compound.addChild(typename F::Smpl(c));
    LogCtx ctx;
    EXPECT_TRUE(outside.execute(ctx));
    EXPECT_EQ(ctx.log, "a!cd");
    EXPECT_TRUE(compound.execute(ctx));
    EXPECT_EQ(ctx.log, "a!cdcd");
    throwing = true;
    compound.addChild(typename F::Smpl(changer));
    EXPECT_THROW(compound.execute(ctx), std::runtime_error);
    std::thread([&] { EXPECT_THROW(compound.execute(ctx), std::runtime_error); }).join(); // the lock is free
}

TYPED_TEST(Command, parameterIsBoundToOneRepresentation)
{
    using Param = ParamCmd<std::string, NoTag, LogCtx, std::string&, TypeParam>;
    struct Sink : Receiver<Param>
    {
        bool execute(Param&, std::string& text) override { return log += text, text += '\'', true; }
        std::string log;
    } sink;
    LogCtx ctx;
    Param one(sink, "one");
    const Param shared = one;
    Param two = one.boundTo("two");
    one.execute(ctx);
    one.execute(ctx);
    two.execute(ctx);
    EXPECT_EQ(sink.log, "oneone'two");
    one.bind("three");
    EXPECT_EQ(shared.rep().parameter(), "three");
    EXPECT_EQ(two.rep().takeParameter(), "two'");
}

TEST(Command, runsOnOneThreadAtATimeAndDiesOnce)
{
    using F = Forms<ThreadSafetyTraits::ThreadSafe>;
    using Rep = SimpleCommandRep<LogCtx, NoTag, ThreadSafetyTraits::ThreadSafe>;
    const auto& pool = Mw::Private::StackHolder<Rep>::get();
    const int pooledBefore = pool.count();
    int inside = 0, most = 0, runs = 0; // plain: the representation's lock orders them
    F::Caller caller(
        [&](F::Smpl&, LogCtx&)
        {
            most = std::max(most, ++inside);
            ++runs;
            --inside;
            return true;
        });
    F::Cmd shared = F::Smpl(caller);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back(
            [own = shared]() mutable
            {
                LogCtx ctx;
                for (int round = 0; round < 5000; ++round)
                {
                    F::Cmd copy = own;
                    copy.execute(ctx);
                    own = copy;
                }
            });
    shared = {};
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(most, 1);
    EXPECT_EQ(runs, 20000);
    EXPECT_EQ(pool.count(), std::max(pooledBefore, 1));
}

TEST(ThreadSafe, refusesTheThreadThatIsInside)
{
    testing::internal::CaptureStdout();
    ThreadSafetyTraits::ThreadSafe safety(true);
    safety.enter();
    EXPECT_THROW(safety.enter(), std::runtime_error);
    safety.enterBare();
    safety.leaveBare();
    safety.leave();
    std::thread([&] { safety.enter(), safety.leave(); }).join();
    CommandRep<NoCtx, ThreadSafetyTraits::ThreadSafe> base;
    NoCtx ctx;
    EXPECT_FALSE(base.execute(ctx));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "assertion failed false at misc/Decoupler line 189\n"
                                                      "assertion failed false at misc/Decoupler line 265\n");
}

TEST(Command, emptyOneIsFatal)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    Cmd<NoCtx, ThreadSafetyTraits::NoLocking> empty;
    NoCtx ctx;
    EXPECT_DEATH((SetLogOutput(stderr), empty.execute(ctx)), "Attempted to use unitinitalized MwDecoupler::Command!");
}
